// Tells the BMC's service processor which operating system runs here, and under which host name.
#ifndef SVP_OS_INFORMATION_H
#define SVP_OS_INFORMATION_H

#include <list>
#include <string>

namespace kestrel {

// The OS information record as byte texts: a header of 16 bytes with the record's length, then "OS", the OS name,
// "Hostname" and the host name, each with its length in front and a zero byte behind. Characters above 127 are neither
// sent nor counted. A name's length has two bytes; of a name of 65535 characters or more the higher digits of the
// length are lost, while the record's own length, of four bytes, stays right. Pure.
[[nodiscard]] std::list<std::string> BuildOsInformationRecord(const std::string& osName, const std::string& hostName);

// Sends the record: kSent, kNotSupported or kSendFailed (svp/config_file_transfer.h). `*detail` is emptied first; a
// failure puts its code in front: "26" when there is no host name, "29" for a step of the transfer.
[[nodiscard]] int SendOsInformation(const std::string& toolPath, std::string* detail);

}  // namespace kestrel

#endif  // SVP_OS_INFORMATION_H
