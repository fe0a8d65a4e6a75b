// Two combined versions, one on each line, as the comparators take them on a rack server; and the same as SDR versions.
#include "fuzz/version_trace.h"

namespace {

void CheckSdrVersions(const std::string& first, const std::string& second, fuzz::RecordCounter* counter) {
  int forth = 77;
  int back = 77;
  const bool comparable = kestrel::CompareSdrVersions(first, second, &forth);
  fuzz::Require(kestrel::CompareSdrVersions(second, first, &back) == comparable, "comparable one way and the other");
  fuzz::Require(comparable == (first.size() >= 2 && second.size() >= 2), "two characters make an SDR version");
  fuzz::Require(counter->TakeCount() == (comparable ? 0 : 2), "a malformed version leaves one message");
  fuzz::Require(forth == -back, "the comparison is antisymmetric");
  fuzz::Require(comparable || forth == 0, "malformed versions compare as 0");
  fuzz::Require(!comparable || first.size() == second.size() || forth == (second.size() > first.size() ? 1 : -1),
                "the shorter version is older");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzz::RecordCounter counter("kv6000rt");
  const auto [first, second] = fuzz::FirstLineAndRest(fuzz::Text(data, size));

  const fuzz::Comparison forth = fuzz::Compare(first, second, &counter);
  const fuzz::Comparison back = fuzz::Compare(second, first, &counter);
  fuzz::Require(forth.records == back.records, "a malformed version is so on both sides");
  fuzz::Require(forth.result == -back.result, "the comparison is antisymmetric");
  fuzz::Require(fuzz::Compare(first, first, &counter).result == 0, "a version equals itself");

  CheckSdrVersions(first, second, &counter);
  return 0;
}
