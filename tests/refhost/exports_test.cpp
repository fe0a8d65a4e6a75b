// What the host libraries let others see.
#include <gtest/gtest.h>

#include <regex>

#include "host/DllCommon.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

class Exports : public HostTest, public testing::WithParamInterface<const char*> {};

TEST_P(Exports, AreTheContractAndWhatIsMarked) {
  unsigned long exitCode = 99;
  const std::string command = std::string("nm -DC --defined-only \"") + GetParam() + "\"";
  ASSERT_EQ(CCommon_Information::ExecForeignModule(command, folder_ / "names", "", &exitCode, ~0UL), 0);
  ASSERT_EQ(exitCode, 0U);
  // Behind address and type: names of the contract, of this host, and of the standard library.
  const std::regex allowed(
      "[0-9a-f]+ . ((typeinfo|typeinfo name|vtable) for )?((C[A-Z_]|refhost::|ShowMessage\\(|Sleep\\(|_mkdir\\(|"
      "GetLastError\\(|GetCurrentThreadId\\().*|(.* )?std::.*)");
  std::istringstream names(folder_.Read("names"));
  int count = 0;
  for (std::string line; std::getline(names, line); ++count) {
    EXPECT_TRUE(std::regex_match(line, allowed)) << line;
  }
  EXPECT_GT(count, 30);
}

INSTANTIATE_TEST_SUITE_P(Libraries, Exports, testing::Values(DLL_COMMON_PATH, PROVIDER_BASE_PATH));

}  // namespace
}  // namespace refhost
