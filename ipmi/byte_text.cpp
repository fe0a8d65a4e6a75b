#include "ipmi/byte_text.h"

#include <string_view>

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

}  // namespace

int ByteValue(const std::string& text) {
  const std::string digits = CStringUtil::StringToUpperCase(text);
  if (digits.size() != 2) {
    return 0;
  }
  return 16 * DigitValue(digits[0]) + DigitValue(digits[1]);
}

std::string ByteText(unsigned int value) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  return {kDigits[value >> 4 & 0xfU], kDigits[value & 0xfU]};
}

void AppendNumber(int value, int count, std::list<std::string>* bytes) {
  auto rest = static_cast<unsigned int>(value);
  for (int i = 0; i < count; ++i) {
    bytes->push_back(ByteText(rest));
    rest >>= 8;
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
