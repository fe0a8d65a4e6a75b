#include "firmware/script_method.h"

#include <fstream>
#include <utility>

#include "firmware/update_log.h"
#include "host/Results.h"

namespace kestrel {

ScriptMethod::ScriptMethod(std::string workFolder, OperationTrace& trace)
    : workFolder_(std::move(workFolder)),
      script_(workFolder_ + "/" + "bmcup.sh"),
      command_(script_ + " < " + workFolder_ + "/" + "Yes"),
      trace_(trace) {}

int ScriptMethod::Run() {
  if (!MakeExecutable()) {
    return host::kFailure;
  }
  ChooseLogs();
  if (!FindScript()) {
    return host::kFailure;
  }
  RunScript();
  if (!ReadLog(sdrLog_, "SDR data was successfully written!", "2C", &sdrWritten_) ||
      !ReadLog(flashLog_, "Update is successful. Reboot is required for changeover to new FW.", "2D", &flashed_)) {
    trace_.NoEnd();  // readers of the trace match on it
    return host::kFailure;
  }
  return Judge();
}

bool ScriptMethod::MakeExecutable() {
  // Not quoted, since the shell is to expand the asterisk.
  const std::string command = "chmod +x -R " + workFolder_ + "/" + "*";
  CTraceUtility::WriteDebug(kChannel, kInfo, "[%s]", command.c_str());
  const CommandOutcome outcome = RunByHost(command, host::kNoTimeLimit);
  if (outcome.Succeeded()) {
    return true;
  }
  CTraceUtility::WriteDebug(kChannel, kError, "Failed to chmod. iRtn:[%d], dRtn:[%d]", outcome.result,
                            outcome.exitCode);
  return false;
}

void ScriptMethod::ChooseLogs() {
  if (CCommon_Information::GetArchitectureInfo(kChannel).find("x86_64") != std::string::npos) {
    sdrLog_ = workFolder_ + "/" + "x64sdr" + "/" + "sdronup.log";
    flashLog_ = workFolder_ + "/" + "x64" + "/" + "BmcFlash_log.txt";
  } else {
    sdrLog_ = workFolder_ + "/" + "x86sdr" + "/" + "sdronup.log";
    flashLog_ = workFolder_ + "/" + "x86" + "/" + "BmcFlash_log.txt";
  }
}

bool ScriptMethod::FindScript() {
  if (CFileUtility::IsFileExist(script_)) {
    return true;
  }
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0020_F", "11");
  CTraceUtility::WriteDebug(kChannel, kError, "Failed to find update module");
  return false;
}

void ScriptMethod::RunScript() {
  CTraceUtility::WriteDebug(kChannel, kInfo, "[%s]", command_.c_str());
  outcome_ = RunOnConsole(command_, workFolder_, kUpdateTimeLimit);
}

// False when the log cannot be opened.
bool ScriptMethod::ReadLog(const std::string& path, const char* goodText, const char* unreadableDetail, bool* good) {
  std::ifstream log;
  log.imbue(LocaleOrClassic("japanese"));
  log.open(path);
  if (!log) {
    CTraceUtility::WriteDebug(kChannel, kError, "file open error:%s", path.c_str());
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0027_F", unreadableDetail);
    TraceFailedCommand();
    return false;
  }
  *good = ScanLog(log, goodText,
                  [](const std::string& line) { CTraceUtility::WriteDebug(kChannel, kInfo, "[%s]", line.c_str()); });
  return true;
}

int ScriptMethod::Judge() {
  if (outcome_.Succeeded() && sdrWritten_ && flashed_) {
    return host::kSuccess;
  }
  std::string detail = "2B";
  if (outcome_.TimedOut()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to execute update command:TIMEOUT");
    detail.insert(0, "15");
  }
  if (!sdrWritten_) {
    detail.insert(0, "2E");
  }
  if (!flashed_) {
    detail.insert(0, "2F");
  }
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0027_F", detail.c_str());
  TraceFailedCommand();
  return host::kFailure;
}

void ScriptMethod::TraceFailedCommand() {
  CTraceUtility::WriteDebug(kChannel, kError, "Failed to execute update command [%s] iret[%d] dret[%d]",
                            command_.c_str(), outcome_.result, outcome_.exitCode);
}

}  // namespace kestrel
