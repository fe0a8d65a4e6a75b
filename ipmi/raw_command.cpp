#include "ipmi/raw_command.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "host/Results.h"
#include "ipmi/byte_text.h"
#include "ipmi/response_parser.h"
#include "ipmi/scratch_directory.h"
#include "ipmi/tool_selection.h"
#include "ipmi/trace.h"

namespace kestrel {

namespace {

constexpr unsigned long kTimeLimit = 350000;  // milliseconds

// One file per thread, so that requests of different threads never share one.
std::string ResultFile() {
  std::array<char, 9> threadId{};
  std::snprintf(threadId.data(), threadId.size(), "%08x", static_cast<unsigned int>(GetCurrentThreadId()));
  return ScratchDirectory() + "/" + "IPMIResult" + threadId.data();
}

std::string IpmitoolCommand(const std::string& toolPath, const std::list<std::string>& request,
                            const std::string& resultFile) {
  std::string command = "\"" + toolPath + "\" raw";
  for (const std::string& byte : request) {
    command.append(" 0x").append(byte);
  }
  return command + " > \"" + resultFile + "\"";
}

// Index of a hexadecimal digit; anything else, and a missing character, counts as 0.
unsigned int Digit(const std::string& text, std::size_t position) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::size_t index = position < text.size() ? kDigits.find(text[position]) : std::string_view::npos;
  return index == std::string_view::npos ? 0 : static_cast<unsigned int>(index);
}

// The maker's tool takes the NetFn shifted left by two, with LUN 0 in the low bits (IPMI v2.0, section 5.1).
std::string NetFnLun(const std::string& netFn) {
  const std::string lower = CStringUtil::StringToLowerCase(netFn);
  return ByteText((16 * Digit(lower, 0) + Digit(lower, 1)) * 4);
}

// The tool must not inherit what the host preloads, hence env -u.
std::string MakersToolCommand(const std::string& toolPath, const std::list<std::string>& request,
                              const std::string& resultFile) {
  std::string command = "echo";
  bool isNetFn = true;
  for (const std::string& byte : request) {
    command.append(" ").append(isNetFn ? NetFnLun(byte) : byte);
    isNetFn = false;
  }
  return command + " | env -u LD_PRELOAD \"" + toolPath + "\" > \"" + resultFile + "\"";
}

bool RunTool(const std::string& command) {
  CTraceUtility::WriteDebug(kChannel, kInfo, "Execute command [%s]", command.c_str());
  unsigned long exitCode = 0;
  const int result = CCommon_Information::ExecForeignModule(command, "", "", &exitCode, kTimeLimit);
  if (result == host::kCommandRan && exitCode == 0) {
    return true;
  }
  CTraceUtility::WriteDebug(kChannel, kError, "Failed to execute command %s return %d", command.c_str(),
                            static_cast<int>(exitCode));
  return false;
}

// By system calls: this is done for each request, and a stream would cost as much as all else that the plug-in does for
// it. False when the file cannot be opened; what cannot be read then counts as its end.
bool ReadText(const std::string& path, std::string* text) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return false;
  }
  std::array<char, 4096> buffer;
  ssize_t size = 0;
  do {
    size = read(file, buffer.data(), buffer.size());
    if (size > 0) {
      text->append(buffer.data(), static_cast<std::size_t>(size));
    }
  } while (size > 0 || (size < 0 && errno == EINTR));
  close(file);
  return true;
}

bool ReadAnswer(const std::string& resultFile, bool makersTool, std::list<std::string>* response) {
  std::string output;
  if (!ReadText(resultFile, &output)) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to open file %s", resultFile.c_str());
    return false;
  }
  const bool whole = makersTool ? ParseMakersToolOutput(output, response) : ParseIpmitoolOutput(output, response);
  if (!whole) {
    CTraceUtility::WriteDebug(kChannel, kError, "[%s] may be broken", resultFile.c_str());
    return false;
  }
  if (response->empty() || response->front().empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get completion code");
    return false;
  }
  return true;
}

}  // namespace

bool ExecuteIpmiCommand(const std::string& toolPath, std::list<std::string>* response,
                        const std::list<std::string>& request) {
  const OperationTrace trace("CBMC_KESTREL_Firmware::ExecIPMICommand() [START]",
                             "CBMC_KESTREL_Firmware::ExecIPMICommand() [END]");
  if (toolPath.empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Tool path is empty");
    return false;
  }
  std::list<std::string> bytes;
  for (const std::string& element : request) {
    bytes.emplace_back(element, 0, 2);
  }
  return ExecuteIpmiCommandList(toolPath, response, bytes);
}

bool ExecuteIpmiCommandList(const std::string& toolPath, std::list<std::string>* response,
                            const std::list<std::string>& request) {
  OperationTrace trace("CBMC_KESTREL_Firmware::ExecIPMICommand_list() [START]",
                       "CBMC_KESTREL_Firmware::ExecIPMICommand_list() [END]");
  const std::string resultFile = ResultFile();
  const bool makersTool = IsMakersTool(toolPath);
  const std::string command =
      makersTool ? MakersToolCommand(toolPath, request, resultFile) : IpmitoolCommand(toolPath, request, resultFile);
  if (!RunTool(command)) {
    trace.End();  // before the file is deleted, here only
    CCommon_Information::RetryDeleteFile(resultFile);
    return false;
  }
  // An answer that could not be read stays on disk for whoever looks into it.
  if (!ReadAnswer(resultFile, makersTool, response)) {
    return false;
  }
  if (!CCommon_Information::RetryDeleteFile(resultFile)) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to delete file %s", resultFile.c_str());
  }
  return true;
}

}  // namespace kestrel
