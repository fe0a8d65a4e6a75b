// Whether a package is trusted: the file PACKAGE.sig beside it holds a detached OpenPGP signature, which gpgv checks
// against the keys of this machine. Nothing of the package is unpacked before.
#ifndef ORVHOST_TRUST_SIGNATURE_H
#define ORVHOST_TRUST_SIGNATURE_H

#include <string>

#include "refhost/staged_package.h"

namespace orvhost {

struct TrustSettings {
  std::string policy;     // "required", "warn", "off"; "" for "required" where there is a key and "warn" elsewhere
  std::string keyFolder;  // which may be missing
};

struct SignatureFinding {
  enum class End {
    kAccepted,
    kRefused,       // because of the package or its signature
    kKeysUnusable,  // because of what the folder of keys holds
    kNotChecked,    // something for checking is missing on this machine
  };
  End end = End::kAccepted;
  std::string state;     // one word for programs: "good", "missing", "unknown-key", ...
  std::string owner;     // of the key that signed, "" where that is not known
  std::string key;       // its fingerprint
  std::string sentence;  // what is not as it should be; "" for nothing. Also of one that is accepted
  std::string nextStep;  // of one that is not
};

// Judges the copy of the package with what stands beside its original now. Runs gpgv when there are keys and a
// signature.
[[nodiscard]] SignatureFinding JudgeSignature(const refhost::StagedPackage& package, const TrustSettings& settings);

}  // namespace orvhost

#endif  // ORVHOST_TRUST_SIGNATURE_H
