#include "orvhost/trust/gpgv_answer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <sstream>
#include <utility>

namespace orvhost {

namespace {

using State = SignatureState;

constexpr std::string_view kStatus = "[GNUPG:] ";

// Words that settle a signature's state and go on with the key's id and its owner.
constexpr auto kVerdicts = std::to_array<std::pair<std::string_view, State>>({{"GOODSIG", State::kGood},
                                                                              {"BADSIG", State::kBad},
                                                                              {"EXPSIG", State::kExpiredSignature},
                                                                              {"EXPKEYSIG", State::kExpiredKey},
                                                                              {"REVKEYSIG", State::kRevokedKey}});

// Reasons in a line ERRSIG, its sixth word.
constexpr std::string_view kWeakDigest = "5";
constexpr std::string_view kNoPublicKey = "9";

// The class of a signature (RFC 4880, 5.2.1). One of a text leaves out how its lines end.
constexpr std::string_view kOfBinaryDocument = "00";

// gpgv has no status line for a key that was made later than now.
constexpr std::string_view kOfTheFuture = " in the future ";

// What a signature without a usable key says of itself is only claimed.
State StateOfError(std::string_view reason, bool hasKey) {
  if (reason == kNoPublicKey) {
    return State::kUnknownKey;
  }
  if (!hasKey) {
    return State::kUnusableSignature;
  }
  return reason == kWeakDigest ? State::kWeakDigest : State::kUnusableKey;
}

// Status lines have some characters as a percent sign and two hexadecimal digits.
std::string Decoded(const std::string& text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto isDigit = [&](std::size_t place) {
      return place < text.size() && std::isxdigit(static_cast<unsigned char>(text[place])) != 0;
    };
    if (text[at] == '%' && isDigit(at + 1) && isDigit(at + 2)) {
      decoded += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
      at += 2;
    } else {
      decoded += text[at];
    }
  }
  return decoded;
}

// One status line behind its mark.
void TakeStatus(const std::string& line, SignatureAnswer* answer) {
  std::istringstream words(line);
  std::string word;
  words >> word;
  const auto* verdict = std::ranges::find_if(kVerdicts, [&](const auto& each) { return each.first == word; });
  if (verdict != kVerdicts.end()) {
    answer->state = verdict->second;
    std::string id;
    words >> id >> std::ws;
    std::getline(words, answer->owner);
    answer->owner = Decoded(answer->owner);
    answer->key = answer->key.empty() ? id : answer->key;
  } else if (word == "KEY_CONSIDERED") {
    words >> answer->key;  // its fingerprint, where the verdict has only an id
  } else if (word == "VALIDSIG") {
    // Fingerprint, date, time, end, version, reserved, two algorithms, class, and the fingerprint of the primary key,
    // where a subkey made the signature.
    std::array<std::string, 10> fields;
    for (std::string& field : fields) {
      words >> field;
    }
    answer->key = fields[9].empty() ? fields[0] : fields[9];
    if (fields[8] != kOfBinaryDocument) {
      answer->state = State::kUnusableSignature;
    }
  } else if (word == "ERRSIG") {
    std::array<std::string, 7> fields;  // key id, algorithms, class, time, reason, fingerprint
    for (std::string& field : fields) {
      words >> field;
    }
    answer->state = StateOfError(fields[5], !answer->key.empty());
    if (answer->key.empty()) {
      answer->key = fields[6].empty() || fields[6] == "-" ? fields[0] : fields[6];
    }
  }
}

}  // namespace

std::optional<std::vector<SignatureAnswer>> ReadGpgvAnswer(std::string_view status, std::string_view messages) {
  std::vector<SignatureAnswer> answers;
  std::istringstream lines{std::string(status)};
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(kStatus)) {
      continue;
    }
    line.erase(0, kStatus.size());
    if (line.starts_with("NODATA")) {
      return {};
    }
    if (line.starts_with("NEWSIG")) {
      answers.emplace_back();
    } else if (!answers.empty()) {
      TakeStatus(line, &answers.back());
    }
  }
  if (answers.empty()) {
    return {};
  }
  const bool isOfTheFuture = messages.find(kOfTheFuture) != std::string_view::npos;
  for (SignatureAnswer& answer : answers) {
    if (isOfTheFuture && answer.state == State::kUnusableKey) {
      answer.state = State::kKeyOfTheFuture;
    }
  }
  return answers;
}

}  // namespace orvhost
