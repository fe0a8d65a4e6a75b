// The public keys of those whose packages may be written: files in a folder that only root may change.
#ifndef ORVHOST_TRUST_KEY_FOLDER_H
#define ORVHOST_TRUST_KEY_FOLDER_H

#include <string>
#include <string_view>
#include <vector>

namespace orvhost {

inline constexpr const char* kKeyFolder = "/etc/orvhost/keys.d";

// What is wrong with a folder of keys or with one of its files.
struct KeyFault {
  std::string cause;     // a sentence; "" for nothing
  std::string nextStep;  // a sentence
};

// Puts the paths of the key files in `folder` into `*files`, in the order of their names; none for the one that is
// built in and not there. Names that begin with a full stop are passed over. Every other one must be a file, and no
// link, with a public key in OpenPGP's binary form (RFC 4880, 4.2). It must belong to root or the user of this process
// and be writable by nobody else, and so must the folder and those above it, except that others may make files of their
// own beside it in one like /tmp. The first thing that is not so is returned.
[[nodiscard]] KeyFault ReadKeyFolder(const std::string& folder, std::vector<std::string>* files);

// Whether the text begins with a packet of that kind (RFC 4880, 4.2 and 4.3), in the older or the newer form.
[[nodiscard]] bool IsPacket(std::string_view text, unsigned tag);

}  // namespace orvhost

#endif  // ORVHOST_TRUST_KEY_FOLDER_H
