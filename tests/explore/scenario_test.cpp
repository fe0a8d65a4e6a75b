#include "explore/scenario.h"

#include <gtest/gtest.h>

#include <set>

#include "explore/roads.h"

namespace {

using explore::FaultKind;
using explore::ParseScenario;

std::string Complaint(const std::string& text) {
  std::string error;
  EXPECT_FALSE(ParseScenario(text, &error)) << text;
  return error;
}

TEST(Scenario, IsReadAndWrittenAlike) {
  std::string error;
  const auto scenario = ParseScenario("life-ipmitool 41:busy 77:kill", &error);
  ASSERT_TRUE(scenario) << error;
  EXPECT_EQ(scenario->faults.at(1).event, 77);
  EXPECT_EQ(scenario->faults.at(1).kind, FaultKind::kKill);
  EXPECT_EQ(Text(*scenario), "life-ipmitool 41:busy 77:kill");
}

TEST(Scenario, SortsItsFaults) {
  std::string error;
  const auto scenario = ParseScenario("update-rack 9:power 3:silent", &error);
  ASSERT_TRUE(scenario) << error;
  EXPECT_EQ(Text(*scenario), "update-rack 3:silent 9:power");
}

TEST(Scenario, FailsInASentence) {
  EXPECT_EQ(Complaint("nowhere 1:busy"), "There is no road \"nowhere\"; \"--list\" shows all.");
  EXPECT_EQ(Complaint(""), "There is no road \"\"; \"--list\" shows all.");
  EXPECT_EQ(Complaint("life-rack 1:earthquake"), "There is no fault \"earthquake\"; \"--list\" shows all.");
  for (const char* word : {"busy", "x:busy", "0:busy", "-1:busy", "1", ":busy", "1x:busy"}) {
    EXPECT_EQ(Complaint(std::string("life-rack ") + word),
              "\"" + std::string(word) + "\" is no fault; one has the form EVENT:FAULT, such as 41:busy.");
  }
  EXPECT_EQ(Complaint("life-rack 4:busy 4:kill"), "Event 4 has two faults.");
}

TEST(Faults, HaveNamesOfTheirOwnAndEventsThatTheyHit) {
  std::set<std::string_view> names;
  for (const explore::FaultRow& fault : explore::AllFaults()) {
    EXPECT_TRUE(names.insert(fault.name).second) << fault.name;
    EXPECT_NE(fault.events, 0U) << fault.name;
    EXPECT_EQ(&RowOf(fault.kind), &fault);
  }
  EXPECT_GE(names.size(), 25U);
}

TEST(Roads, HaveNamesOfTheirOwn) {
  std::set<std::string_view> names;
  for (const explore::Road& road : explore::AllRoads()) {
    EXPECT_TRUE(names.insert(road.name).second) << road.name;
    EXPECT_EQ(explore::FindRoad(road.name), &road);
  }
  EXPECT_GE(names.size(), 20U);
}

}  // namespace
