// Base of the tests that use the host libraries: an install path of the test's own, the trace as a list of lines, and
// waiting a thousand times shorter than real. A test that leaves a file open fails.
#ifndef TESTS_REFHOST_SUPPORT_HOST_TEST_H
#define TESTS_REFHOST_SUPPORT_HOST_TEST_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "refhost/settings.h"
#include "refhost/trace_sink.h"
#include "tests/refhost/support/temporary_folder.h"
#include "tests/support/descriptor_watch.h"

namespace refhost {

using Lines = std::vector<std::string>;

// Keeps every record as "level text".
class RecordingSink : public TraceSink {
 public:
  void Write(const TraceRecord& record) override {
    lines.push_back((record.level == 0 ? "R" : std::to_string(record.level)) + " " + std::string(record.text));
    details.emplace_back(record.detail);
  }
  Lines lines;
  Lines details;
};

// An exit status that no command of a test leaves: still there when a service leaves the place alone.
inline constexpr unsigned long kUntouched = 77;

class HostTest : public testing::Test {
 protected:
  HostTest() {
    setenv("ORVHOST_LAB_SLEEP_SCALE", "0.001", 1);
    Configure({folder_.Path(), "kv6000", folder_ / "root"});
    SetTraceSink(&sink_);
    SetTraceLevels(kAllTraceLevels);
  }
  ~HostTest() override {
    SetTraceSink(nullptr);
    Configure({});
    unsetenv("ORVHOST_LAB_SLEEP_SCALE");
  }

  Lines TakeLines() { return std::exchange(sink_.lines, {}); }

  const DescriptorWatch descriptors_;
  TemporaryFolder folder_;
  RecordingSink sink_;
};

}  // namespace refhost

#endif  // TESTS_REFHOST_SUPPORT_HOST_TEST_H
