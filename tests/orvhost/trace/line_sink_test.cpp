#include "orvhost/trace/line_sink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/DllCommon.h"
#include "tests/refhost/support/host_test.h"

namespace orvhost {

namespace {

class LogFile : public refhost::HostTest {
 protected:
  refhost::Lines LogLines() const {
    std::istringstream log(folder_.Read("log"));
    refhost::Lines lines;
    for (std::string line; std::getline(log, line);) {
      lines.push_back(line.substr(refhost::kTraceTimeWidth));
    }
    return lines;
  }
};

TEST_F(LogFile, TakesTheLinesOfForkedChildrenToo) {
  std::string error;
  auto file = LineSink::OpenFile(folder_ / "log", &error);
  ASSERT_NE(file, nullptr) << error;
  refhost::SetTraceSink(file.get());
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "before");
  const pid_t pid = fork();
  if (pid == 0) {
    CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "open [%s]", "/dev/console");
    _exit(0);
  }
  ASSERT_EQ(waitpid(pid, nullptr, 0), pid);
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "after");
  refhost::SetTraceSink(nullptr);
  EXPECT_EQ(LogLines(), (refhost::Lines{"1 before", "1 open [/dev/console]", "1 after"}));
}

TEST_F(LogFile, ASinkOfSomeLevelsPassesThemAndEveryRecord) {
  std::string error;
  { auto created = LineSink::OpenFile(folder_ / "log", &error); }
  posix::FileDescriptor descriptor(open((folder_ / "log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  LineSink sink(std::move(descriptor), 2 | 16);
  for (const int level : {1, 2, 4, 16, 0}) {
    sink.Write({level, "bmc", "", "", "x"});
  }
  EXPECT_EQ(LogLines(), (refhost::Lines{"2 x", "16 x", "R x"}));
}

TEST_F(LogFile, ATeeHandsEveryRecordToAllInOrder) {
  struct Named : refhost::TraceSink {
    Named(std::string* text, char name) : text_(text), name_(name) {}
    void Write(const refhost::TraceRecord& record) override { *text_ += name_ + std::string(record.text); }
    std::string* text_;
    char name_;
  };
  std::string text;
  TeeSink tee;
  tee.Add(std::make_unique<Named>(&text, 'a'));
  tee.Add(std::make_unique<Named>(&text, 'b'));
  tee.Write({1, "bmc", "", "", "1"});
  tee.Write({1, "bmc", "", "", "2"});
  EXPECT_EQ(text, "a1b1a2b2");
}

}  // namespace
}  // namespace orvhost
