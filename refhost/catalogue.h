// The message catalogue: what the identifiers and detail codes in a plug-in's records mean to an operator.
#ifndef REFHOST_CATALOGUE_H
#define REFHOST_CATALOGUE_H

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "refhost/export.h"

namespace refhost {

struct Message {
  std::string_view id;        // "MSGID_BMC_0001_F"
  int insertCount;            // number of texts that a record of this message carries
  std::string_view sentence;  // what failed; %1 and %2 stand for the texts
  std::string_view meaning;   // what that means for the device and the run, one or more sentences
  std::string_view remedy;    // what to do, one or more sentences
};

struct Detail {
  std::string_view code;     // two characters
  std::string_view failed;   // what failed, a clause without its full stop
  std::string_view meaning;  // as of a message
  std::string_view remedy;
};

// Everything in the catalogue, in the order of the identifiers and codes.
[[nodiscard]] REFHOST_EXPORT std::span<const Message> AllMessages();
[[nodiscard]] REFHOST_EXPORT std::span<const Detail> AllDetails();

// The message of that identifier, null when the catalogue has none.
[[nodiscard]] REFHOST_EXPORT const Message* FindMessage(std::string_view id);

// The sentence with the texts inserted; a text that is missing is inserted as "". Where the text is a detail code, its
// meaning follows it.
[[nodiscard]] REFHOST_EXPORT std::string Sentence(const Message& message, const std::vector<std::string>& inserts);

// One code of a detail, and how often it stands there in a row.
struct DetailPart {
  const Detail* detail;
  int times;
};

// The parts of a detail code, which is one or more two-character codes run together, newest first. Nothing when the
// text is empty or holds an unknown code.
[[nodiscard]] REFHOST_EXPORT std::optional<std::vector<DetailPart>> SplitDetail(std::string_view detail);

// What failed by a detail code: its parts joined by "; ", one that repeats with its number of times. "" when the text
// is not such a code.
[[nodiscard]] REFHOST_EXPORT std::string DetailMeaning(std::string_view detail);

}  // namespace refhost

#endif  // REFHOST_CATALOGUE_H
