// Whether a text can stand in an XML document. Nothing here converts or repairs.
#ifndef REFHOST_COMMON_UTF8_H
#define REFHOST_COMMON_UTF8_H

#include <string_view>

namespace refhost {

// True when `text` is UTF-8 (shortest forms, no surrogates) and every character may occur in an XML 1.0 document.
[[nodiscard]] bool IsXmlText(std::string_view text);

// True when `text` is also a name of an element or an attribute.
[[nodiscard]] bool IsXmlName(std::string_view text);

}  // namespace refhost

#endif  // REFHOST_COMMON_UTF8_H
