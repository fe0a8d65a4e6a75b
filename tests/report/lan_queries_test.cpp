// The lines of every way in which the BMC's answers about its LAN interface fail, before another attempt and after the
// last one. The attempts themselves are tested with the section that makes them.
#include "report/lan_queries.h"

#include <gtest/gtest.h>

#include "ipmi/trace.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const IpmiReply kNotRun(false, {});
const IpmiReply kBroken(false, {"00", "11"});  // read in part only
const IpmiReply kEmpty(true, {});
const IpmiReply kRefused(true, {"C1", "11"});
const IpmiReply kShort(true, {"00", "11", "9a", "1B"});

class MacAddressFailure : public testing::Test {
 protected:
  // The lines of both levels.
  std::vector<std::string> LinesOf(const IpmiReply& reply) {
    WriteMacAddressFailure(kRetry, reply);
    WriteMacAddressFailure(kError, reply);
    return host_.TakeJournal();
  }

  ScriptedHost host_;
};

TEST_F(MacAddressFailure, OfARequestThatDidNotRun) {
  for (const IpmiReply& reply : {kNotRun, kBroken}) {
    EXPECT_TRUE(SameLines(LinesOf(reply), {"16 Failed to execute IPMI Command (Get MAC Address) ",
                                           "2 Failed to execute IPMI Command (Get MAC Address) "}));
  }
}

TEST_F(MacAddressFailure, OfAnEmptyAnswer) {
  EXPECT_TRUE(SameLines(LinesOf(kEmpty), {"16 Failed to execute IPMI Command (Get MAC Address) no return code",
                                          "2 Failed to execute IPMI Command (Get MAC Address) no return code"}));
}

TEST_F(MacAddressFailure, OfARefusal) {
  EXPECT_TRUE(SameLines(LinesOf(kRefused), {"16 Failed to execute IPMI Command (Get MAC Address) return:[C1]",
                                            "2 Failed to execute IPMI Command (Get MAC Address) return:[C1]"}));
}

TEST_F(MacAddressFailure, OfAShortAnswer) {
  EXPECT_TRUE(SameLines(LinesOf(kShort), {"16 Failed to execute IPMI Command (Get MAC Address). MacAddrss:[9a:1B:]",
                                          "2 Failed to execute IPMI Command (Get MAC Address). MacAddrss:[9a:1B:]"}));
}

class TcpipInfoFailure : public testing::Test {
 protected:
  std::vector<std::string> LinesOf(const IpmiReply& reply) {
    WriteTcpipInfoFailure(kRetry, reply);
    WriteTcpipInfoFailure(kError, reply);
    return host_.TakeJournal();
  }

  ScriptedHost host_;
};

TEST_F(TcpipInfoFailure, OfARequestThatDidNotRun) {
  for (const IpmiReply& reply : {kNotRun, kBroken}) {
    EXPECT_TRUE(SameLines(LinesOf(reply), {"16 Failed to execute IPMI Command (Get Tcpip Info) ",
                                           "2 Failed to execute IPMI Command (Get Tcpip Info) "}));
  }
}

TEST_F(TcpipInfoFailure, OfAnEmptyAnswer) {
  EXPECT_TRUE(SameLines(LinesOf(kEmpty), {"16 Failed to execute IPMI Command (Get Tcpip Info) no return code",
                                          "2 Failed to execute IPMI Command (Get Tcpip Info) no return code"}));
}

TEST_F(TcpipInfoFailure, OfARefusalIsSpelledDifferentlyAtTheLast) {
  EXPECT_TRUE(SameLines(LinesOf(kRefused), {"16 Failed to execute IPMI Command (Get Tcpip Info) return:[C1]",
                                            "2 Failed to execute IPMI Command (Get Tcpip Info ) return:[C1]"}));
}

TEST_F(TcpipInfoFailure, OfAShortAnswerIsSpelledDifferentlyAtTheLast) {
  EXPECT_TRUE(
      SameLines(LinesOf(kShort), {"16 Failed to execute IPMI Command (Get Tcpip Info)", "16 Response Data [119a1B]",
                                  "2 Failed to execute IPMI Command (Get Tcpip Info)", "2 Response Data  [119a1B]"}));
}

}  // namespace
}  // namespace kestrel
