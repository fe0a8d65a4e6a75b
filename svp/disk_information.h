// Hands the disk information of the management library on to the BMC's service processor.
#ifndef SVP_DISK_INFORMATION_H
#define SVP_DISK_INFORMATION_H

#include <string>

namespace kestrel {

// kSent, kNotSupported or kSendFailed (svp/config_file_transfer.h). `*detail` is emptied first; a failure puts its code
// in front: "28" when there is no library or its text is no sequence of pairs, "29" for a step of the transfer. A query
// that the library fails leaves it empty. Before the first byte is sent the library is unloaded again.
[[nodiscard]] int SendDiskInformation(const std::string& toolPath, std::string* detail);

}  // namespace kestrel

#endif  // SVP_DISK_INFORMATION_H
