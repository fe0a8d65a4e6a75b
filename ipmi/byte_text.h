// Conversions between numbers, texts and IPMI bytes, each byte as the text of two hexadecimal digits. Pure.
#ifndef IPMI_BYTE_TEXT_H
#define IPMI_BYTE_TEXT_H

#include <list>
#include <string>

namespace kestrel {

// Value 0 to 255 of two hexadecimal digits in either case. A character that is no digit counts as 0; a text of any
// other length is 0.
[[nodiscard]] int ByteValue(const std::string& text);

// The two lower-case digits of the low eight bits of `value`.
[[nodiscard]] std::string ByteText(unsigned int value);

// Appends `count` byte texts of `value`, least significant byte first; a negative value is its 32-bit two's complement,
// and what does not fit `count` bytes is dropped.
void AppendNumber(int value, int count, std::list<std::string>* bytes);

// Appends the byte texts of the 7-bit characters of `text` and a terminating "00"; other characters are left out.
void AppendText(const std::string& text, std::list<std::string>* bytes);

}  // namespace kestrel

#endif  // IPMI_BYTE_TEXT_H
