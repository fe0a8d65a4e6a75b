// Reads a device configuration report back, to show it.
#ifndef ORVHOST_COMMANDS_REPORT_FILE_H
#define ORVHOST_COMMANDS_REPORT_FILE_H

#include <string>
#include <utility>
#include <vector>

namespace orvhost {

// Name of the file that the plug-in writes into the folder that it is given.
inline constexpr const char* kReportFileName = "Kestrel_BmcConfigInfo.xml";

// Name and value of every item of the report at `path`, in the order of the document. False, with the reason in
// `*error`, when the file cannot be read or is no report.
[[nodiscard]] bool ReadReportFile(const std::string& path, std::vector<std::pair<std::string, std::string>>* items,
                                  std::string* error);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_REPORT_FILE_H
