// The commands of the report and the lines of its document, for the tests of its sections and of the whole.
#ifndef TESTS_REPORT_REPORT_LINES_H
#define TESTS_REPORT_REPORT_LINES_H

#include <string>
#include <vector>

#include "host/DllCommon.h"
#include "tests/support/dmi_lines.h"
#include "tests/support/lines.h"
#include "tests/support/scripted_host.h"

inline constexpr const char* kProductNameLine = "/usr/sbin/dmidecode --type system | grep \"Product Name\"";
inline constexpr const char* kProductVersionLine = "/usr/sbin/dmidecode --type system | grep \"Version\"";
inline constexpr const char* kBiosVersionLine = "/usr/sbin/dmidecode --type bios  | grep \"Version\"";

inline constexpr const char* kGeneralStart = "4 CBMC_KESTREL_Vendor::CreateGeneralInfoNode() [START]";
inline constexpr const char* kGeneralEnd = "4 CBMC_KESTREL_Vendor::CreateGeneralInfoNode() [END]";
inline constexpr const char* kGeneralLeave = "4 [LEAVE] int CBMC_KESTREL_Vendor::CreateGeneralInfoNode(COrvXmlNode*)";
inline constexpr const char* kVersionStart = "4 CBMC_KESTREL_Vendor::CreateVersionInfoNode() [START]";
inline constexpr const char* kVersionEnd = "4 CBMC_KESTREL_Vendor::CreateVersionInfoNode() [END]";
inline constexpr const char* kVersionLeave = "4 [LEAVE] int CBMC_KESTREL_Vendor::CreateVersionInfoNode(COrvXmlNode*)";
inline constexpr const char* kWebConsoleStart = "4 CBMC_KESTREL_Vendor::CreateWebConsoleSettingNode() [START]";
inline constexpr const char* kWebConsoleEnd = "4 CBMC_KESTREL_Vendor::CreateWebConsoleSettingNode() [END]";

inline constexpr const char* kMacRequest = "0C 02 01 05 00 00";
inline constexpr const char* kTcpipRequest = "3c 13";

// An item of a section that is itself the root.
inline Lines Item(const std::string& name, const std::string& value) {
  return "  attr name=[" + name + "] value=[" + value + "]";
}

// The lines of `section`. Call it after the journal was taken: this writes the section as a document.
inline std::vector<std::string> LinesOf(ScriptedHost& host, const COrvXmlNode& section) {
  COrvXmlWrite().writeXML("", section);
  host.TakeJournal();
  return host.writtenDocuments.back();
}

#endif  // TESTS_REPORT_REPORT_LINES_H
