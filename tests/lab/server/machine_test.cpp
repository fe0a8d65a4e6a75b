// The machine's power, with a process that only waits in QEMU's place.
#include "lab/server/machine.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kv6000 {

namespace {

// Nothing happens by itself.
class StillLoop final : public EventLoop {
 public:
  void Watch(int /*fd*/, Callback /*readable*/) override {}
  void Unwatch(int /*fd*/) override {}
  void After(std::chrono::milliseconds /*delay*/, Callback /*due*/) override {}
};

class TheMachine : public testing::Test {
 protected:
  TheMachine() {
    std::string folder = testing::TempDir() + "machine-XXXXXX";
    folder_ = mkdtemp(folder.data());
  }
  ~TheMachine() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path folder_;
  int off_ = 0;
  int rebooted_ = 0;
  StillLoop loop_;
};

TEST_F(TheMachine, IsOffOnceItsPowerIsCutAndCanBePoweredOnAtOnce) {
  Machine machine({{"/bin/sh", "-c", "exec sleep 1000"}, folder_ / "log", "", folder_ / "ready"},
                  {[&] { ++off_; }, [&] { ++rebooted_; }, [] {}}, loop_);
  ASSERT_TRUE(machine.Start());
  machine.CutPower();
  EXPECT_FALSE(machine.IsRunning());
  EXPECT_EQ(off_, 1);
  EXPECT_EQ(rebooted_, 0);
  machine.CutPower();
  EXPECT_EQ(off_, 1);
  EXPECT_TRUE(machine.Start());
  EXPECT_TRUE(machine.IsRunning());
}

TEST_F(TheMachine, DoesNotTakeCommandsYetWhenItIsPoweredOn) {
  const auto ready = folder_ / "ready";
  std::ofstream(ready) << "an earlier boot\n";
  Machine machine({{"/bin/sh", "-c", "exec sleep 1000"}, folder_ / "log", "", ready}, {[] {}, [] {}, [] {}}, loop_);
  EXPECT_TRUE(std::filesystem::exists(ready));
  ASSERT_TRUE(machine.Start());
  EXPECT_FALSE(std::filesystem::exists(ready));
}

}  // namespace
}  // namespace kv6000
