#include "firmware/flash_tool_method.h"

#include <dirent.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "firmware/operating_version.h"
#include "firmware/requests.h"
#include "firmware/update_marker.h"
#include "host/Results.h"
#include "ipmi/file_probe.h"
#include "ipmi/retried_exchange.h"
#include "ipmi/trace.h"

namespace kestrel {

namespace {

constexpr int kFlashRuns = 3;

std::string FlashTool() {
  return CFileUtility::GetInstallPath(host::kInstallation) + "/KV6KBMC/Yafuflash";
}

// Writes `text` as a format rather than as the argument of one. A percent sign in a path must not be taken for a
// conversion, hence the doubling.
void TraceAsFormat(const std::string& text) {
  std::string format;
  for (const char character : text) {
    format.append(character == '%' ? 2 : 1, character);
  }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
  CTraceUtility::WriteDebug(kChannel, kInfo, format.c_str());
#pragma GCC diagnostic pop
}

bool RunTraced(const std::string& command) {
  const CommandOutcome outcome = RunByHost(command, kUpdateTimeLimit);
  CTraceUtility::WriteDebug(kChannel, kInfo, "Exec [%s]. iret[%d] dret[%d]", command.c_str(), outcome.result,
                            outcome.exitCode);
  return outcome.Succeeded();
}

}  // namespace

FlashToolMethod::FlashToolMethod(CFirmware& firmware, std::string toolPath, std::string workFolder)
    : firmware_(firmware),
      toolPath_(std::move(toolPath)),
      workFolder_(std::move(workFolder)),
      media_(toolPath_, &detail_) {}

int FlashToolMethod::Run() {
  if (!FindImage() || !ReadRunningVersion() || !ChangeWriteMode()) {
    return host::kFailure;
  }
  while (media_.Connect() && media_.DisableWait() && FindFlashTool() && LoadScsiGenericDriver()) {
    const CommandOutcome flash = Flash();
    if (flash.Succeeded() || flash.TimedOut()) {
      return Complete(flash);
    }
    if (!MayFlashAgain(flash) || !PrepareNextRun()) {
      break;
    }
  }
  return host::kFailure;
}

bool FlashToolMethod::FindImage() {
  const auto close = [](DIR* folder) { closedir(folder); };
  const std::unique_ptr<DIR, decltype(close)> folder(opendir(workFolder_.c_str()), close);
  if (folder == nullptr) {
    detail_ = "17";
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0009_F", detail_.c_str());
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to open directory %s", workFolder_.c_str());
    return false;
  }
  std::string image;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name.find(".ima") != std::string::npos) {
      image = name;  // of several, the last one that the system lists
    }
  }
  if (image.empty()) {
    detail_ = "11";
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0020_F", detail_.c_str());
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to find module");
    return false;
  }
  image_ = workFolder_ + "/" + image;
  return true;
}

bool FlashToolMethod::ReadRunningVersion() {
  runningVersion_ = firmware_.GetOperatingVersion();
  if (runningVersion_ == host::kAbnormalVersion) {
    detail_ = "1C";
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0011_F", detail_.c_str());
    // At the level of start and end lines; readers of the trace match on it.
    CTraceUtility::WriteDebug(kChannel, kFlow, "Failed to get Operating Version [%s]", runningVersion_.c_str());
    return false;
  }
  return true;
}

// Firmware of these two major revisions must be given its phrase first.
bool FlashToolMethod::ChangeWriteMode() {
  if (!runningVersion_.starts_with("06") && !runningVersion_.starts_with("16")) {
    return true;
  }
  const auto report = [this](Level level, const IpmiReply& reply) {
    if (level == kError) {
      detail_ = "13";
      CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0012_F", detail_.c_str());
    }
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI command(Change Write mode) CompletionCode:%s",
                              reply.CompletionCode().c_str());
  };
  return RetryExchange(kBmcRetry, toolPath_, ChangeWriteModeRequest(), report).has_value();
}

bool FlashToolMethod::FindFlashTool() {
  const std::string flashTool = FlashTool();
  if (CanBeRead(flashTool)) {
    return true;
  }
  detail_.insert(0, "24");
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0009_F", detail_.c_str());
  CTraceUtility::WriteDebug(kChannel, kError, "Failed to get update tool %s", flashTool.c_str());
  return false;
}

// The flash tool reaches the virtual device through it.
bool FlashToolMethod::LoadScsiGenericDriver() {
  if (RunTraced("lsmod | grep -e \"^sg \"")) {
    return true;
  }
  return Retry(
      kLocalRetry, [] { return RunTraced("modprobe sg"); },
      [&](Level level) {
        // The outcome of every attempt has a line already.
        if (level == kError) {
          detail_.insert(0, "2A");
          CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0009_F", detail_.c_str());
        }
      });
}

CommandOutcome FlashToolMethod::Flash() {
  // Each part brings its own blanks, so that two of them stand before the first option and before the image.
  flashCommand_ = "\"" + FlashTool() + "\" " + " -cd -preserve-config -silent " + " \"" + image_ + "\"";
  TraceAsFormat(flashCommand_);
  CTraceUtility::WriteDebug(kChannel, kInfo, "Execute:%s", flashCommand_.c_str());
  const CommandOutcome flash = RunByHost(flashCommand_, kUpdateTimeLimit);
  if (flash.TimedOut()) {
    CTraceUtility::WriteDebug(kChannel, kRetry, "Failed to execute update command:TIMEOUT");
  }
  return flash;
}

// Takes note of a failed run of the flash command; false when it was the last one.
bool FlashToolMethod::MayFlashAgain(const CommandOutcome& flash) {
  if (flash.result == host::kCommandNotRun) {
    CTraceUtility::WriteDebug(kChannel, kRetry, "Failed to execute ExecCommand");
  }
  if (flash.exitCode != 0) {
    detail_.insert(0, flash.exitCode == -2 ? "1E" : "16");
    CTraceUtility::WriteDebug(kChannel, kRetry, "Failed to execute update command:ReturnCode=%d", flash.exitCode);
  }
  if (++flashFailures_ < kFlashRuns) {
    return true;
  }
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0013_F", detail_.c_str());
  CTraceUtility::WriteDebug(kChannel, kError, "Failed to execute update command %s", flashCommand_.c_str());
  return false;
}

// Back to where the virtual media are connected anew.
bool FlashToolMethod::PrepareNextRun() {
  Sleep(1000);
  if (!media_.Disconnect()) {
    return false;
  }
  Sleep(10000);
  return true;
}

int FlashToolMethod::Complete(const CommandOutcome& flash) {
  CTraceUtility::WriteDebug(kChannel, kInfo, "Yafuflash command return=%d", flash.exitCode);
  if (CUnzip_Utility::DeleteFolder(workFolder_, kChannel)) {
    CTraceUtility::WriteDebug(kChannel, kInfo, "delete folder complete");
  } else {
    CTraceUtility::WriteDebug(kChannel, kInfo, "Failed to delete temporary folder after updating");
  }
  if (std::system(("touch \"" + UpdateMarker() + "\"").c_str()) != 0) {
    detail_ = "17";
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0009_F", detail_.c_str());
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to create ExistUpdate.txt");
    return host::kFailure;
  }
  return flash.TimedOut() ? host::kUpdateTimedOut : host::kSuccess;
}

}  // namespace kestrel
