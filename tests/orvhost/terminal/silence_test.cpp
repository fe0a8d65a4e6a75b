// The plain line about a run that prints nothing else, where there is no terminal for a live one.
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "host/DllCommon.h"
#include "orvhost/terminal/live_progress.h"

namespace orvhost {

namespace {

using std::chrono::milliseconds;

class Silence : public testing::Test, protected refhost::CommandObserver {
 protected:
  Silence() { setenv("TERM", "dumb", 1); }

  void Begin(const Options& options = {}) {
    progress_.Begin(options, {"plug-in", "prerequisites", "identify"}, [this](const std::string& line) {
      progress_.Hide();  // as the console does before every text
      const std::scoped_lock lock(mutex_);
      lines_.push_back(line);
      said_.notify_all();
    });
  }

  void Step() {
    progress_.Take(
        {CTraceUtility::TRACE_DBG_FLOW, "bmc", "", "", "CBMC_KESTREL_Firmware::GetOperatingVersion() [START]"});
  }

  // The lines, once there are that many.
  std::vector<std::string> Lines(std::size_t count) {
    std::unique_lock lock(mutex_);
    said_.wait(lock, [this, count] { return lines_.size() >= count; });
    return lines_;
  }

  bool Allows(const refhost::CommandRequest&) override { return true; }
  void Starts(const refhost::CommandRequest&) override {}
  void Ended(const refhost::CommandRequest&, const refhost::CommandResult&) override {}
  void PauseStarts(unsigned long) override {}
  void PauseEnded() override {}

  LiveProgress progress_{this, milliseconds(5)};
  std::mutex mutex_;
  std::condition_variable said_;
  std::vector<std::string> lines_;
};

TEST_F(Silence, IsBrokenByALineAgainAndAgain) {
  Begin();
  progress_.Enter("identify");
  Step();
  for (const std::string& line : Lines(3)) {
    EXPECT_EQ(line, "[3 of 3, 0:00] Reading the BMC's firmware version");
  }
  progress_.End();
}

TEST_F(Silence, TheLineTellsWhatIsWaitedFor) {
  Begin();
  progress_.Enter("identify");
  progress_.PauseStarts(3'600'000);
  Step();
  const std::string line = Lines(1).front();
  EXPECT_TRUE(line.starts_with("[3 of 3, 0:00] Reading the BMC's firmware version (a pause, ")) << line;
  progress_.End();
}

TEST_F(Silence, APhaseThatComesOnceMoreDoesNotCountBackwards) {
  Begin();
  progress_.Enter("identify");
  progress_.Enter("prerequisites");
  progress_.Enter("journal");  // of every road, and counted in none
  Step();
  EXPECT_EQ(Lines(1).front(), "[3 of 3, 0:00] Reading the BMC's firmware version");
  progress_.End();
}

TEST_F(Silence, IsWhatQuietAndProgramsAskFor) {
  for (bool Options::*wish : {&Options::quiet, &Options::json, &Options::verbose}) {
    Options options;
    options.*wish = true;
    Begin(options);
    Step();
    std::this_thread::sleep_for(milliseconds(20));
    progress_.End();
    EXPECT_TRUE(lines_.empty());
  }
}

}  // namespace
}  // namespace orvhost
