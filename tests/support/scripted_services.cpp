// liborv_DllCommon as the scripted host plays it. Reaching services are journaled; string operations just work.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "host/DllCommon.h"
#include "tests/support/scripted_host.h"

namespace {

ScriptedHost& Host() {
  ScriptedHost* host = ScriptedHost::Current();
  if (host == nullptr) {
    std::fputs("a service was called without a scripted host\n", stderr);
    std::abort();
  }
  return *host;
}

std::string Narrow(const wchar_t* text) {
  std::string narrow;
  for (; text != nullptr && *text != 0; ++text) {
    narrow += static_cast<char>(*text);
  }
  return narrow;
}

char Shifted(char character, char from, char to, int by) {
  return character >= from && character <= to ? static_cast<char>(character + by) : character;
}

int DetailsOf(const std::string& messageId) {
  if (messageId == "MSGID_BMC_0015_F") {
    return 2;
  }
  return messageId == "MSGID_BMC_0024_F" || messageId == "MSGID_BMC_0025_F" ? 0 : 1;
}

}  // namespace

void CTraceUtility::WriteDebug(const char* module, TRACE_DBG_LEVEL level, const char* format, ...) {
  if (Host().quickTool) {
    return;
  }
  EXPECT_STREQ(module, "bmc");
  std::va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  const int length = vasprintf(&text, format, arguments);
  va_end(arguments);
  ASSERT_GE(length, 0);
  Host().Note(std::to_string(level) + " " + text);
  std::free(text);
}

void CTraceUtility::WriteTrace(const char* module, const char* messageId, ...) {
  EXPECT_STREQ(module, "bmc");
  std::string line = std::string("record ") + messageId;
  std::va_list arguments;
  va_start(arguments, messageId);
  for (int i = 0; i < DetailsOf(messageId); ++i) {
    line += std::string(" ") + va_arg(arguments, const char*);
  }
  va_end(arguments);
  Host().Note(line);
}

void ShowMessage(const wchar_t* text, const wchar_t* caption) {
  Host().Note("show " + Narrow(text) + "|" + Narrow(caption));
}

void ShowMessage(const wchar_t* text, const char* arg) {
  Host().Note("show " + Narrow(text) + "|" + (arg == nullptr ? "" : arg));
}

unsigned long GetCurrentThreadId() {
  return Host().threadId;
}

void Sleep(unsigned long milliseconds) {
  Host().Note("sleep " + std::to_string(milliseconds));
}

int _mkdir(const char* path) {
  Host().Note(std::string("mkdir ") + path);
  return Host().foldersCanBeMade ? 0 : -1;
}

unsigned long GetLastError() {
  return static_cast<unsigned long>(errno);
}

// NOLINTBEGIN(performance-unnecessary-value-param): texts come by value, as a plug-in passes them.

std::string CStringUtil::StringToLowerCase(std::string text) {
  for (char& character : text) {
    character = Shifted(character, 'A', 'Z', 'a' - 'A');
  }
  return text;
}

std::string CStringUtil::StringToUpperCase(std::string text) {
  for (char& character : text) {
    character = Shifted(character, 'a', 'z', 'A' - 'a');
  }
  return text;
}

std::list<std::string> CStringUtil::Split(std::string& text, const std::string& separator) {
  std::list<std::string> fields;
  if (text.empty()) {
    return fields;
  }
  std::size_t start = 0;
  for (std::size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, start)) {
    fields.emplace_back(text, start, end - start);
    start = end + separator.size();
  }
  fields.emplace_back(text, start);
  return fields;
}

void CStringUtil::strReplace(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

std::string CStringUtil::NumberToTString(long number) {
  return std::to_string(number);
}

long CStringUtil::TStringToNumber(std::string text) {
  return std::strtol(text.c_str(), nullptr, 10);
}

std::string CStringUtil::xatoa(std::string hex) {
  return std::to_string(std::strtol(hex.c_str(), nullptr, 16));
}

std::string CFileUtility::GetInstallPath(int kind) {
  const std::filesystem::path& path = Host().InstallPath();
  return kind == 0 ? path.string() : (path / ("kind" + std::to_string(kind))).string();
}

bool CFileUtility::IsFileExist(std::string path) {
  Host().Note("exists " + path);
  return Host().readableFiles.contains(Host().Shorten(path)) || std::filesystem::is_regular_file(path);
}

int CCommon_Information::ExecForeignModule(const std::string& command, const std::string& outputFile,
                                           const std::string& workDir, unsigned long* exitCode,
                                           unsigned long timeoutMs) {
  EXPECT_EQ(outputFile, "");
  EXPECT_EQ(workDir, "");
  Host().Note("exec " + command + " limit " + (timeoutMs == ~0UL ? "none" : std::to_string(timeoutMs)));
  const CommandEnd end = Host().RunCommand(command);
  if (end.exitCode) {
    *exitCode = *end.exitCode;
  }
  return end.result;
}

std::string CCommon_Information::GetResultLine(const std::string& command) {
  Host().Note("line " + command);
  return Host().TakeResultLine(command);
}

std::string CCommon_Information::GetServerType(std::string module) {
  EXPECT_EQ(module, "bmc");
  Host().Note("ask server type");
  return Host().serverType;
}

std::string CCommon_Information::GetArchitectureInfo(const std::string& module) {
  EXPECT_EQ(module, "bmc");
  Host().Note("ask architecture");
  return Host().architecture;
}

int CCommon_Information::GetIpmiServiceState(std::string module) {
  EXPECT_EQ(module, "bmc");
  Host().Note("ask IPMI service state");
  return Host().ipmiServiceState;
}

bool CCommon_Information::RetryDeleteFile(const std::string& path) {
  Host().Note("delete " + path);
  if (Host().quickTool) {
    return true;
  }
  if (Host().undeletableFiles.contains(Host().Shorten(path))) {
    return false;
  }
  std::filesystem::remove(path);
  return true;
}

bool CCommon_Information::MyPathFileExists(const std::string& path) {
  Host().Note("exists " + path);
  return Host().readableFiles.contains(Host().Shorten(path)) || std::filesystem::exists(path);
}

bool CUnzip_Utility::UpdateModuleUnzip(std::string package, std::list<std::string>* fileList, std::string folder,
                                       std::string* message, std::string module) {
  EXPECT_EQ(module, "bmc");
  EXPECT_EQ(*message, "");
  Host().Note("unpack " + package + " to " + folder);
  Host().unpackedFileList = fileList;
  return Host().packageCanBeUnpacked;
}

bool CUnzip_Utility::DeleteFolder(std::string folder, std::string module) {
  EXPECT_EQ(module, "bmc");
  Host().Note("delete folder " + folder);
  if (Host().folderDeletions.empty()) {
    return true;
  }
  const bool deleted = Host().folderDeletions.front();
  Host().folderDeletions.pop_front();
  return deleted;
}

// NOLINTEND(performance-unnecessary-value-param)
