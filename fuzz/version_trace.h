// Counts the records for operators that a version comparison writes, and sets the server type that it sees.
#ifndef FUZZ_VERSION_TRACE_H
#define FUZZ_VERSION_TRACE_H

#include <string>

#include "firmware/version_comparison.h"
#include "fuzz/property.h"
#include "refhost/settings.h"
#include "refhost/trace_sink.h"

namespace fuzz {

class RecordCounter : public refhost::TraceSink {
 public:
  explicit RecordCounter(const std::string& serverType) {
    refhost::Configure({"/nonexistent", serverType, "/nonexistent"});
    refhost::SetTraceLevels(0);  // records for operators only
    refhost::SetTraceSink(this);
  }

  void Write(const refhost::TraceRecord& /*record*/) override { ++count_; }
  int TakeCount() { return std::exchange(count_, 0); }

 private:
  int count_ = 0;
};

struct Comparison {
  int result;
  int records;
};

// Compares by `counter`'s server type and checks what holds for every pair of texts.
inline Comparison Compare(const std::string& first, const std::string& second, RecordCounter* counter) {
  const int result = kestrel::CompareVersions(first, second);
  const int records = counter->TakeCount();
  Require(result >= -1 && result <= 1, "a comparison is -1, 0 or 1");
  Require(records == 0 || (records == 1 && result == 0), "malformed versions compare as 0 with one message");
  return {result, records};
}

}  // namespace fuzz

#endif  // FUZZ_VERSION_TRACE_H
