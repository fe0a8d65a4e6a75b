// Two BMC versions, one on each line, as the comparators take them on an ordinary server.
#include "fuzz/version_trace.h"

namespace {

bool IsWellFormed(const std::string& text) {
  const auto digit = [&text](std::size_t at) { return std::string("0123456789").find(text[at]) != std::string::npos; };
  return text.size() == 5 && digit(0) && digit(1) && text[2] == '-' && digit(3) && digit(4);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzz::RecordCounter counter("kv6000");
  const auto [first, second] = fuzz::FirstLineAndRest(fuzz::Text(data, size));

  const fuzz::Comparison forth = fuzz::Compare(first, second, &counter);
  const fuzz::Comparison back = fuzz::Compare(second, first, &counter);
  const bool wellFormed = IsWellFormed(first) && IsWellFormed(second);
  fuzz::Require(wellFormed == (forth.records == 0), "well-formed versions, and only they, leave no message");
  fuzz::Require(forth.records == back.records, "a malformed version is so on both sides");
  fuzz::Require(forth.result == -back.result, "the comparison is antisymmetric");
  fuzz::Require(fuzz::Compare(first, first, &counter).result == 0, "a version equals itself");
  // Digits at the same places sort as their numbers do.
  fuzz::Require(!wellFormed || forth.result == (second > first) - (second < first), "versions sort by their digits");
  return 0;
}
