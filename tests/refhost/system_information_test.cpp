#include <gtest/gtest.h>
#include <sys/utsname.h>

#include "host/DllCommon.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

class SystemInformation : public HostTest {
 protected:
  std::string TypeOf(const std::string& productName) {
    folder_.Write("root/sys/class/dmi/id/product_name", productName);
    Configure({folder_.Path(), "", folder_ / "root"});
    return CCommon_Information::GetServerType("bmc");
  }
};

TEST_F(SystemInformation, TheConfiguredServerTypeWins) {
  folder_.Write("root/sys/class/dmi/id/product_name", "MX4000\n");
  Configure({folder_.Path(), "KV6000rt", folder_ / "root"});
  EXPECT_EQ(CCommon_Information::GetServerType("bmc"), "kv6000rt");
}

TEST_F(SystemInformation, OtherwiseTheProductNameTellsTheServerType) {
  EXPECT_EQ(TypeOf("KV6000\n"), "kv6000");
  EXPECT_EQ(TypeOf("KV6000RT-2 \n"), "kv6000rt-2");
  EXPECT_EQ(TypeOf("\n"), "");
}

TEST_F(SystemInformation, WithoutDmiTheServerTypeIsUnknown) {
  Configure({folder_.Path(), "", folder_ / "root"});
  EXPECT_EQ(CCommon_Information::GetServerType("bmc"), "");
}

TEST_F(SystemInformation, TheArchitectureIsTheKernels) {
  utsname names{};
  ASSERT_EQ(uname(&names), 0);
  EXPECT_EQ(CCommon_Information::GetArchitectureInfo("bmc"), names.machine);
}

TEST_F(SystemInformation, TheIpmiServiceRunsWhenADeviceNodeIsThere) {
  EXPECT_NE(CCommon_Information::GetIpmiServiceState("bmc"), 0);
  for (const char* node : {"ipmi0", "ipmi/0", "ipmidev/0"}) {
    const std::string path = folder_.Write(std::string("root/dev/") + node, "");
    EXPECT_EQ(CCommon_Information::GetIpmiServiceState("bmc"), 0) << node;
    std::filesystem::remove(path);
  }
}

TEST(TimeScale, OnlyANumberAboveZeroScales) {
  unsetenv("ORVHOST_LAB_SLEEP_SCALE");
  EXPECT_EQ(ScaledMilliseconds(10000), 10000U);
  setenv("ORVHOST_LAB_SLEEP_SCALE", "0.01", 1);
  EXPECT_EQ(ScaledMilliseconds(10000), 100U);
  for (const char* text : {"", "0", "-1", "fast", "0.01x", "nan", "inf"}) {
    setenv("ORVHOST_LAB_SLEEP_SCALE", text, 1);
    EXPECT_EQ(ScaledMilliseconds(10000), 10000U) << text;
  }
  unsetenv("ORVHOST_LAB_SLEEP_SCALE");
}

}  // namespace
}  // namespace refhost
