// Signs a package with a private key of whoever runs this, by gpg.
#ifndef ORVHOST_MAKER_SIGNING_H
#define ORVHOST_MAKER_SIGNING_H

#include <string>

#include "orvhost/trust/gpgv_answer.h"

namespace orvhost {

struct SigningFailure {
  bool isMissing = false;  // gpg itself
  std::string reason;      // a clause
};

// Writes a detached signature of the file `package` to `signature`, which must not be there yet. `key` is what gpg
// finds a key by, such as a fingerprint or an address; gpg may ask for a passphrase. Where SOURCE_DATE_EPOCH is set, it
// is the signature's time. What gpg then finds in the signature is in `*answer`. False with `*failure`, when there is
// no good signature of one of the user's keys now. `folder` is for what is in between.
[[nodiscard]] bool SignPackage(const std::string& package, const std::string& key, const std::string& signature,
                               const std::string& folder, SignatureAnswer* answer, SigningFailure* failure);

}  // namespace orvhost

#endif  // ORVHOST_MAKER_SIGNING_H
