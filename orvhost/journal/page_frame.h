// What the pages for a browser have in common: HTML that brings its style along, has no script, and fetches nothing.
// All texts that it is given are made printable and escaped. Pure.
#ifndef ORVHOST_JOURNAL_PAGE_FRAME_H
#define ORVHOST_JOURNAL_PAGE_FRAME_H

#include <string>
#include <string_view>

namespace orvhost {

// A text as it may stand between tags and inside quotes.
[[nodiscard]] std::string Html(std::string_view text);

// From the first byte to the heading, which is the title.
[[nodiscard]] std::string PageHead(const std::string& title);

// The result in a box: "good", or "bad" with a cross.
[[nodiscard]] std::string PageVerdict(bool isGood, const std::string& text);

// A name and its value, for a list of them; "" for an empty value.
[[nodiscard]] std::string PageItem(const std::string& name, const std::string& value);

// To the last byte: which orvhost made the page, then `rest`.
[[nodiscard]] std::string PageFoot(const std::string& rest);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_PAGE_FRAME_H
