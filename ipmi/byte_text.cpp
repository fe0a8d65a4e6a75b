#include "ipmi/byte_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "host/DllCommon.h"

namespace kestrel {

namespace {

int DigitValue(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  if (digit >= 'A' && digit <= 'F') {
    return digit - 'A' + 10;
  }
  return 0;
}

std::string Hex(unsigned int value) {
  std::array<char, 9> text{};
  std::snprintf(text.data(), text.size(), "%x", value);
  return text.data();
}

void PadTo(std::size_t length, std::string* digits) {
  digits->insert(0, length - std::min(length, digits->size()), '0');
}

}  // namespace

int ByteValue(const std::string& text) {
  const std::string digits = CStringUtil::StringToUpperCase(text);
  if (digits.size() != 2) {
    return 0;
  }
  return 16 * DigitValue(digits[0]) + DigitValue(digits[1]);
}

void AppendNumber(int value, int count, std::list<std::string>* bytes) {
  if (count < 1) {
    return;
  }
  std::string digits = Hex(static_cast<unsigned int>(value));
  PadTo(2 * static_cast<std::size_t>(count), &digits);
  for (int i = 0; i < count; ++i) {
    bytes->push_back(digits.substr(digits.size() - 2 * (static_cast<std::size_t>(i) + 1), 2));
  }
}

void AppendText(const std::string& text, std::list<std::string>* bytes) {
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (code <= 127) {
      AppendNumber(code, 1, bytes);
    }
  }
  bytes->emplace_back("00");
}

}  // namespace kestrel
