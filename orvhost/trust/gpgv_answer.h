// What gpgv says of a package's signatures, by its status lines. Pure.
#ifndef ORVHOST_TRUST_GPGV_ANSWER_H
#define ORVHOST_TRUST_GPGV_ANSWER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvhost {

enum class SignatureState {
  kGood,
  kUnknownKey,
  kBad,               // it does not belong to these bytes
  kExpiredSignature,  // or key, in the next; the bytes are the signed ones
  kExpiredKey,
  kRevokedKey,
  kWeakDigest,
  kKeyOfTheFuture,     // the machine's clock stands before the key's creation
  kUnusableKey,        // the key is there, and the signature cannot be checked with it
  kUnusableSignature,  // it is of a kind that nobody can check, or that does not cover every byte
};

struct SignatureAnswer {
  SignatureState state = SignatureState::kUnusableSignature;
  std::string key;    // the fingerprint, or the shorter id where that is all that is known
  std::string owner;  // "" where it is not known
};

// Takes the status lines that "gpgv --status-fd" wrote, and beside them its messages for people, which hold texts of
// whoever made key and signature. One answer for each signature, in their order; nothing when the signature file holds
// none or is damaged.
[[nodiscard]] std::optional<std::vector<SignatureAnswer>> ReadGpgvAnswer(std::string_view status,
                                                                         std::string_view messages);

}  // namespace orvhost

#endif  // ORVHOST_TRUST_GPGV_ANSWER_H
