#include "orvhost/trust/signature.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>
#include <vector>

#include "orvhost/interface/repeated_options.h"
#include "orvhost/trust/gpgv_answer.h"
#include "orvhost/trust/key_folder.h"
#include "posix/last_error.h"
#include "posix/regular_file.h"
#include "posix/replace_file.h"
#include "refhost/machine.h"

namespace orvhost {

namespace {

using State = SignatureState;
using End = SignatureFinding::End;

constexpr std::size_t kLargestSignature = 64UL * 1024UL;
constexpr std::size_t kLongestAnswer = 1024UL * 1024UL;
constexpr unsigned long kLimitMs = 10UL * 60UL * 1000UL;  // for 1 GiB on a slow disk
constexpr std::size_t kMostSignatures = 16;
constexpr mode_t kOwnerOnly = 0600;

constexpr const char* kSignedPackage = "Get the package and its .sig anew from those who made it.";

// What gpgv says of one signature, and the file whose key it was checked with.
struct Checked {
  SignatureAnswer answer;
  std::string keyFile;
};

SignatureFinding Finding(End end, const std::string& state, const std::string& sentence = "",
                         const std::string& nextStep = "") {
  SignatureFinding finding;
  finding.end = end;
  finding.state = state;
  finding.sentence = sentence;
  finding.nextStep = nextStep;
  return finding;
}

std::string ByWhom(const SignatureAnswer& answer) {
  return answer.owner.empty() ? "key " + answer.key : answer.owner + " (key " + answer.key + ")";
}

std::string Today() {
  const std::time_t now = std::chrono::system_clock::to_time_t(refhost::CurrentMachine().Now());
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[sizeof "YYYY-MM-DD"];
  return std::strftime(text, sizeof text, "%F", &utc) != 0 ? text : "";
}

// The length of the packet whose header begins at `at`, header included; 0 for one that is not whole or has its length
// elsewhere (RFC 4880, 4.2).
std::size_t PacketLength(std::string_view text, std::size_t at) {
  const auto byte = [text](std::size_t place) -> std::size_t {
    return place < text.size() ? static_cast<unsigned char>(text[place]) : 0;
  };
  constexpr std::size_t kNewForm = 0xc0;
  std::size_t octets = 1;  // of the length
  std::size_t length = byte(at + 1);
  if ((byte(at) & kNewForm) == kNewForm) {
    if (length >= 224) {
      return 0;
    }
    octets = length < 192 ? 1 : 2;
    length = octets == 1 ? length : ((length - 192) << 8U) + byte(at + 2) + 192;
  } else {
    octets = std::size_t{1} << (byte(at) & 3U);
    length = octets == 2 ? (length << 8U) + byte(at + 2) : length;
    if (octets > 2) {
      return 0;
    }
  }
  const std::size_t whole = 1 + octets + length;
  return whole <= text.size() - at ? whole : 0;
}

// gpgv also unpacks what is compressed, without a limit, so it is given nothing else.
bool HoldsSignaturesOnly(std::string_view text) {
  constexpr unsigned kSignature = 2;
  std::size_t at = 0;
  for (std::size_t count = 0; at < text.size() && count < kMostSignatures; ++count) {
    const std::size_t length = PacketLength(text, at);
    if (length == 0 || !IsPacket(text.substr(at), kSignature)) {
      return false;
    }
    at += length;
  }
  return !text.empty() && at == text.size();
}

class SignatureCheck {
 public:
  SignatureCheck(const refhost::StagedPackage& package, const TrustSettings& settings)
      : package_(package),
        settings_(settings),
        signature_(package.Original() + ".sig"),
        copy_(package.Folder() + "/signature") {}

  SignatureFinding Judge();

 private:
  [[nodiscard]] bool MustBeSigned() const;
  [[nodiscard]] std::string WhyRequired() const;
  [[nodiscard]] SignatureFinding Absent(const std::string& state, const std::string& what,
                                        const std::string& nextStep) const;
  [[nodiscard]] SignatureFinding Refused(const std::string& state, const std::string& what,
                                         const std::string& nextStep = kSignedPackage) const;
  [[nodiscard]] std::optional<SignatureFinding> CopySignature();
  [[nodiscard]] std::optional<SignatureFinding> Ask(const std::string& keyFile);
  [[nodiscard]] std::optional<SignatureFinding> Take(const std::string& keyFile,
                                                     const std::vector<SignatureAnswer>& answers);
  [[nodiscard]] SignatureFinding Conclude() const;
  [[nodiscard]] SignatureFinding InWords(const Checked& checked) const;

  const refhost::StagedPackage& package_;
  const TrustSettings& settings_;
  const std::string signature_;
  const std::string copy_;  // of the signature, where nobody else reaches it
  std::vector<std::string> keyFiles_;
  std::vector<Checked> checked_;  // one for each signature
};

SignatureFinding SignatureCheck::Judge() {
  if (settings_.policy == "off") {
    return Finding(End::kAccepted, "not-checked");
  }
  if (const KeyFault fault = ReadKeyFolder(settings_.keyFolder, &keyFiles_); !fault.cause.empty()) {
    return Finding(End::kKeysUnusable, "not-checked", fault.cause, fault.nextStep);
  }
  if (auto finding = CopySignature()) {
    return *finding;
  }
  if (keyFiles_.empty()) {
    return Absent("unknown-key", "is signed, and " + settings_.keyFolder + " holds no key to check that with",
                  "Have the public key of those who made the package put into " + settings_.keyFolder + ".");
  }
  for (const std::string& keyFile : keyFiles_) {
    if (auto finding = Ask(keyFile)) {
      return *finding;
    }
  }
  return Conclude();
}

bool SignatureCheck::MustBeSigned() const {
  return settings_.policy == "required" || (settings_.policy.empty() && !keyFiles_.empty());
}

std::string SignatureCheck::WhyRequired() const {
  return settings_.policy.empty() ? "a signature is required, because " + settings_.keyFolder + " holds a key"
                                  : "the configuration requires a signature";
}

// Of a package whose maker is not known, which a policy may let pass.
SignatureFinding SignatureCheck::Absent(const std::string& state, const std::string& what,
                                        const std::string& nextStep) const {
  if (MustBeSigned()) {
    return Refused(state, what + "; " + WhyRequired(), nextStep);
  }
  return Finding(End::kAccepted, state, "The package " + what + ": nothing proves who made it.");
}

SignatureFinding SignatureCheck::Refused(const std::string& state, const std::string& what,
                                         const std::string& nextStep) const {
  return Finding(End::kRefused, state, "The package " + package_.Original() + " is not trusted: it " + what + ".",
                 nextStep);
}

// Nothing when there is one to be checked.
std::optional<SignatureFinding> SignatureCheck::CopySignature() {
  const auto text = posix::ReadRegularFile(signature_, kLargestSignature);
  if (!text && errno == ENOENT) {
    return Absent("missing", "has no signature " + std::filesystem::path(signature_).filename().string() + " beside it",
                  "Get the package's .sig from those who made it, and put it beside the package.");
  }
  if (!text) {
    const std::string reason = errno == EFBIG    ? "it has more than 64 KiB"
                               : errno == EINVAL ? "it is not a file"
                                                 : posix::LastError();
    return Refused("damaged", "has a signature " + signature_ + " that cannot be read: " + reason);
  }
  if (!HoldsSignaturesOnly(*text)) {
    return Refused("damaged",
                   "has a signature " + signature_ + " that is cut off, or is none in OpenPGP's binary form");
  }
  std::string error;
  if (!posix::ReplaceFile(copy_, *text, kOwnerOnly, &error)) {
    return Finding(End::kNotChecked, "not-checked", "The package's signature cannot be checked: " + error + ".",
                   "Make room there, then run the same command again.");
  }
  return {};
}

// Has gpgv check all signatures with the keys of one file. Nothing when the next file is to be asked.
std::optional<SignatureFinding> SignatureCheck::Ask(const std::string& keyFile) {
  const std::string output = package_.Folder() + "/gpgv";
  const std::string messages = package_.Folder() + "/gpgv-messages";
  // Only the keys of that file count, and no settings of a user. SHA-1 can be forged.
  const std::string line = "LC_ALL=C /usr/bin/gpgv --homedir " + SingleQuoted(package_.Folder()) +
                           " --status-fd 1 --weak-digest SHA1 --weak-digest RIPEMD160 --keyring " +
                           SingleQuoted(keyFile) + " " + SingleQuoted(copy_) + " " + SingleQuoted(package_.CopyPath()) +
                           " 2> " + SingleQuoted(messages);
  const refhost::ShellEnd end = refhost::CurrentMachine().Run(
      {.line = line, .workDir = "", .outputFile = output, .wantsFirstLine = false, .limitMs = kLimitMs});
  const bool hasRun = end.how == refhost::ShellEnd::How::kExited && end.exitStatus != refhost::kProgramNotFound;
  const auto text = hasRun ? posix::ReadRegularFile(output, kLongestAnswer) : std::nullopt;
  if (!text) {
    const bool isMissing = end.exitStatus == refhost::kProgramNotFound;
    return Finding(End::kNotChecked, "not-checked",
                   std::string("The package's signature cannot be checked: ") +
                       (isMissing ? "the program /usr/bin/gpgv is missing." : "/usr/bin/gpgv did not come to its end."),
                   isMissing
                       ? "Install gpgv (Debian's package gpgv, elsewhere gnupg2), then run the same command again."
                       : "Run the same command again.");
  }
  const auto answers = ReadGpgvAnswer(*text, posix::ReadStartOfRegularFile(messages, kLongestAnswer).value_or(""));
  return answers ? Take(keyFile, *answers)
                 : Refused("damaged", "has a signature " + signature_ + " that is cut off, or is none");
}

std::optional<SignatureFinding> SignatureCheck::Take(const std::string& keyFile,
                                                     const std::vector<SignatureAnswer>& answers) {
  checked_.resize(std::max(checked_.size(), answers.size()));
  for (std::size_t at = 0; at < answers.size(); ++at) {
    Checked& checked = checked_[at];
    if (answers[at].state == State::kUnknownKey || answers[at].state == State::kUnusableSignature) {
      if (checked.keyFile.empty()) {
        checked.answer = answers[at];
      }
      continue;
    }
    if (!checked.keyFile.empty()) {
      return Finding(End::kKeysUnusable, "not-checked",
                     "The key files " + checked.keyFile + " and " + keyFile + " hold the same key " + answers[at].key +
                         ", so that it is not clear which of them counts.",
                     "Remove the one that is out of date.");
    }
    checked = {answers[at], keyFile};
  }
  return {};
}

// One good signature is enough, unless another one shows that the package was changed.
SignatureFinding SignatureCheck::Conclude() const {
  const auto find = [this](auto isWanted) {
    return std::ranges::find_if(checked_, [&](const Checked& each) { return isWanted(each.answer.state); });
  };
  for (const auto& isWanted :
       {+[](State state) { return state == State::kBad; }, +[](State state) { return state == State::kGood; },
        +[](State state) { return state != State::kUnknownKey; }}) {
    if (const auto found = find(isWanted); found != checked_.end()) {
      return InWords(*found);
    }
  }
  return InWords(checked_.front());
}

SignatureFinding SignatureCheck::InWords(const Checked& checked) const {
  const std::string by = ByWhom(checked.answer);
  SignatureFinding finding;
  switch (checked.answer.state) {
    case State::kGood:
      finding = Finding(End::kAccepted, "good");
      break;
    case State::kUnknownKey:
      finding = Absent("unknown-key",
                       "is signed by key " + checked.answer.key + ", which " + settings_.keyFolder + " does not hold",
                       "Ask those who made the package which key they sign with. If it is this one, have "
                       "their public key (\"gpg --export KEY\") put into " +
                           settings_.keyFolder + ".");
      break;
    case State::kBad:
      finding = Refused("bad", "does not match its signature by " + by +
                                   ": it was changed since it was signed, or the signature is another package's");
      break;
    case State::kExpiredSignature:
      finding = Refused("expired-signature", "has a signature by " + by + " that has expired; it is " + Today() +
                                                 " by this machine's clock");
      break;
    case State::kExpiredKey:
      finding =
          Refused("expired-key",
                  "is signed by " + by + ", and that key has expired; it is " + Today() + " by this machine's clock",
                  "If the date is right, ask those who made the package for their key with its new end, and "
                  "replace " +
                      checked.keyFile + " by it.");
      break;
    case State::kRevokedKey:
      finding = Refused("revoked-key", "is signed by " + by + ", and that key was revoked by its owner",
                        "Ask those who made the package for one that is signed with their present key.");
      break;
    case State::kWeakDigest:
      finding = Refused("weak-digest",
                        "has a signature by " + by +
                            " that can be forged, because of its digest (SHA-1 "
                            "or older)",
                        "Ask those who made the package for a signature with SHA-256 or better.");
      break;
    case State::kKeyOfTheFuture:
      finding =
          Refused("key-of-the-future",
                  "is signed by " + by + ", and that key was made after " + Today() + ", the date of this machine",
                  "Set the machine's clock right, then run the same command again.");
      break;
    case State::kUnusableSignature:
      finding = Refused("unusable-signature",
                        "has a signature of a kind that cannot be checked, or that does not cover every byte",
                        "Ask those who made the package for a signature by \"gpg --detach-sign\" without text mode.");
      break;
    case State::kUnusableKey:
      finding = Refused("unusable-key",
                        "is signed by " + by + ", and that cannot be checked with the key file " + checked.keyFile +
                            ": the signature is older than its key, or the file is damaged",
                        "Ask those who made the package which of the two it is.");
      break;
  }
  finding.owner = checked.answer.owner;
  finding.key = checked.answer.key;
  return finding;
}

}  // namespace

SignatureFinding JudgeSignature(const refhost::StagedPackage& package, const TrustSettings& settings) {
  return SignatureCheck(package, settings).Judge();
}

}  // namespace orvhost
