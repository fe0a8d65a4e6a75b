// The message catalogue: what the identifiers and detail codes in a plug-in's records mean to an operator.
#ifndef REFHOST_CATALOGUE_H
#define REFHOST_CATALOGUE_H

#include <string>
#include <string_view>
#include <vector>

#include "refhost/export.h"

namespace refhost {

struct Message {
  std::string_view id;        // "MSGID_BMC_0001_F"
  int insertCount;            // number of texts that a record of this message carries
  std::string_view sentence;  // %1 and %2 stand for the texts
};

// The message of that identifier, null when the catalogue has none.
REFHOST_EXPORT const Message* FindMessage(std::string_view id);

// The sentence with the texts inserted; a text that is missing is inserted as "". Where the text is a detail code, its
// meaning follows it.
REFHOST_EXPORT std::string Sentence(const Message& message, const std::vector<std::string>& inserts);

// The meaning of a detail code, which is one or more two-character codes run together, newest first: the meanings
// joined by "; ", one that repeats with its number of times. "" when the text is not such a code or holds an unknown
// one.
REFHOST_EXPORT std::string DetailMeaning(std::string_view detail);

}  // namespace refhost

#endif  // REFHOST_CATALOGUE_H
