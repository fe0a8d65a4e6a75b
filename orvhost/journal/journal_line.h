// One line of a journal, as it is found in the file. A journal may be damaged or not a run's work at all, so nothing
// that stands in it may do more than be taken for damaged.
#ifndef ORVHOST_JOURNAL_JOURNAL_LINE_H
#define ORVHOST_JOURNAL_JOURNAL_LINE_H

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace orvhost {

// Far more than a run writes: a longer line and a larger journal are not read.
inline constexpr std::size_t kLongestLine = 4UL * 1024UL * 1024UL;
inline constexpr std::size_t kLargestJournal = 64UL * 1024UL * 1024UL;

// The line's object; null when it is none, is longer than kLongestLine, or is nested so deeply that no run wrote it.
[[nodiscard]] nlohmann::json ParseLine(std::string_view line);

// A member as text; "" when `object` is none, or the member is not there or no text.
[[nodiscard]] std::string TextIn(const nlohmann::json& object, const char* name);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_JOURNAL_LINE_H
