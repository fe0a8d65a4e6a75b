#include "explore/known_findings.h"

#include <gtest/gtest.h>

#include <set>

namespace explore {

namespace {

struct Example {
  const char* scenario;
  const char* finding;
};

bool IsKnown(const Example& example) {
  std::string error;
  const auto scenario = ParseScenario(example.scenario, &error);
  EXPECT_TRUE(scenario) << error;
  return scenario && !WhyKnown(*scenario, example.finding).empty();
}

constexpr const char* kVersionWithoutSdr =
    "truth: before: BMC:01-23,SDR:, and without faults before: BMC:01-23,SDR:A1, with the notice: The version of the "
    "sensor data records is missing: the BMC did not give it.";
constexpr const char* kNotSupported = "truth: verdict: partly-sent, and without faults verdict: sent";
constexpr const char* kNameless =
    "truth: record 64: 0011, and without faults record 64: 2233, with the notice: The operating system's name could "
    "not "
    "be read from /etc/redhat-release, so the record was sent without it.";
constexpr const char* kNoServerType =
    "truth: facts.server_type: \"\", and without faults facts.server_type: \"kv6000\", with the notice: This machine "
    "did "
    "not report its server type, from which follows what belongs to its version.";

TEST(KnownFindings, OneOfEachKind) {
  std::set<std::string> reasons;
  for (const Example& example : std::initializer_list<Example>{
           {"identify-rack 30:busy-for-good", kVersionWithoutSdr},
           {"report-rack 60:busy-for-good",
            "truth: facts.serial_number: \"1\", and without faults facts.sdr_version: \"A1\""},
           {"notify-ipmicmd 50:invalid-command", kNotSupported},
           {"notify-ipmitool 80:not-found", kNameless},
           {"update-rack 240:no-process", "truth: update says that the flash was touched, and nothing was started"},
           {"apply-ipmitool 80:power", "recovery: it takes 4 steps: diagnose, verify, update, apply, verify"},
           {"update-ipmitool 230:hangs", "recovery: it takes 4 steps: apply, update, apply, verify"},
           {"life-rack 310:disk-full 384:power",
            "recovery: it takes 5 steps: diagnose, apply, verify, update, apply, verify"},
           {"life-ipmicmd 250:hangs 377:power",
            "recovery: it takes 5 steps: diagnose, verify, apply, update, apply, verify"},
           {"life-ipmicmd 250:hangs 344:kill", "recovery: it takes 4 steps: diagnose, apply, update, apply, verify"},
           {"apply-ipmitool 19:disk-full 50:kill",
            "recovery: it takes 4 steps: diagnose, apply, update, apply, verify"},
           {"identify-rack 30:missing", kNoServerType},
           {"update-rack 19:disk-full", "order: the flash begins, and the journal does not say so"},
           {"update-ipmitool 60:empty", "order: the flash begins, and the records do not say so"}}) {
    std::string error;
    const std::string why = WhyKnown(*ParseScenario(example.scenario, &error), example.finding);
    EXPECT_NE(why, "") << example.scenario << ": " << example.finding;
    reasons.insert(why);
  }
  EXPECT_EQ(reasons.size(), 12U);
}

// What only looks like one of them is new.
TEST(KnownFindings, TheirNeighboursAreNew) {
  for (const Example& example : std::initializer_list<Example>{
           // other steps
           {"apply-ipmitool 80:power", "recovery: it takes 5 steps: diagnose, verify, update, apply, apply, verify"},
           {"apply-ipmitool 80:power", "recovery: after apply the sentence leads nowhere: Ask somebody."},
           {"update-ipmitool 230:hangs", "recovery: it takes 4 steps: update, update, apply, verify"},
           {"check-ipmitool 109:missing", "recovery: it takes 4 steps: update, apply, verify, check"},
           // other faults
           {"life-rack 384:power", "recovery: it takes 5 steps: diagnose, apply, verify, update, apply, verify"},
           {"life-ipmitool 310:disk-full 384:power",
            "recovery: it takes 5 steps: diagnose, apply, verify, update, apply, verify"},
           {"apply-ipmitool 80:kill", "recovery: it takes 4 steps: diagnose, verify, update, apply, verify"},
           {"update-ipmitool 230:exit-1", "recovery: it takes 4 steps: apply, update, apply, verify"},
           {"apply-ipmitool 50:kill", "recovery: it takes 4 steps: diagnose, apply, update, apply, verify"},
           {"update-rack 240:exit-1", "truth: update says that the flash was touched, and nothing was started"},
           {"update-rack 19:busy", "order: the flash begins, and the journal does not say so"},
           {"update-ipmitool 60:busy", "order: the flash begins, and the records do not say so"},
           {"notify-ipmicmd 50:busy", kNotSupported},
           {"identify-rack 30:busy", kNoServerType},
           // other roads
           {"update-ipmitool 19:disk-full", "order: the flash begins, and the journal does not say so"},
           {"report-ipmitool 60:busy",
            "truth: facts.serial_number: \"1\", and without faults facts.sdr_version: \"A1\""},
           // without the sentence that says so
           {"identify-rack 30:busy-for-good",
            "truth: before: BMC:01-23,SDR:, and without faults before: BMC:01-23,SDR:A1"},
           {"identify-rack 30:busy-for-good",
            "truth: before: BMC:01-22,SDR:, and without faults before: BMC:01-23,SDR:A1, with the notice: The version "
            "of "
            "the sensor data records is missing: the BMC did not give it."},
           {"notify-ipmitool 80:not-found", "truth: record 64: 0011, and without faults record 64: 2233"},
           {"notify-ipmitool 80:not-found",
            "truth: record 65: 0011, and without faults record 65: 2233, with the notice: The operating system's name "
            "could not be read from /etc/redhat-release, so the record was sent without it."},
           {"identify-rack 30:missing",
            "truth: facts.server_type: \"\", and without faults facts.server_type: \"kv6000\""},
           // of other oracles
           {"update-ipmitool 230:power", "truth: the BMC saw a flash, and update says that it was not touched"},
           {"update-ipmitool 230:power", "truth: \"updated\", and no whole image stands by"},
           {"update-ipmitool 230:power", "order: the machine goes down while the update marker is there"},
           {"update-ipmitool 230:power", "locks: the flash begins while /srv/orv/orvhost.lock is not held"},
           {"update-ipmitool 230:power", "files: unfinished is left"},
           {"update-ipmitool 230:power", "bounds: the program hangs for real in update-ipmitool 230:power"}}) {
    EXPECT_FALSE(IsKnown(example)) << example.scenario << ": " << example.finding;
  }
}

}  // namespace
}  // namespace explore
