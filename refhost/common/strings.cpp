// CStringUtil.
#include <algorithm>
#include <charconv>

#include "refhost/contract.h"

namespace {

// The whole of `text` as a number in the given base, 0 when it is anything else.
template <typename Number>
Number WholeNumber(const std::string& text, int base) {
  Number number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  return error == std::errc() && stop == end ? number : 0;
}

}  // namespace

std::string CStringUtil::StringToLowerCase(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

std::string CStringUtil::StringToUpperCase(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

std::list<std::string> CStringUtil::Split(std::string& text, const std::string& separator) {
  if (text.empty()) {
    return {};
  }
  if (separator.empty()) {
    return {text};
  }
  std::list<std::string> fields;
  std::size_t start = 0;
  for (std::size_t hit = text.find(separator); hit != std::string::npos; hit = text.find(separator, start)) {
    fields.push_back(text.substr(start, hit - start));
    start = hit + separator.size();
  }
  fields.push_back(text.substr(start));
  return fields;
}

void CStringUtil::strReplace(std::string& text, const std::string& from, const std::string& to) {
  if (from.empty()) {
    return;
  }
  for (std::size_t hit = text.find(from); hit != std::string::npos; hit = text.find(from, hit + to.size())) {
    text.replace(hit, from.size(), to);
  }
}

std::string CStringUtil::NumberToTString(long number) {
  return std::to_string(number);
}

long CStringUtil::TStringToNumber(std::string text) {
  return WholeNumber<long>(text, 10);
}

std::string CStringUtil::xatoa(std::string hex) {
  return std::to_string(WholeNumber<unsigned long>(hex, 16));
}
