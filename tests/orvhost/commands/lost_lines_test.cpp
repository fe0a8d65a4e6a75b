// What diagnose concludes from a journal that lost lines, and from none: any line that is left and shows the flash
// counts.
#include <algorithm>
#include <functional>

#include "orvhost/journal/journal_folder.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

using Keeps = std::function<bool(const json& line)>;

bool IsPhase(const json& line, const std::string& name) {
  return line["kind"] == "phase" && line["name"] == name;
}

bool IsFlashLine(const json& line) {
  return line["kind"] == "trace" && line["text"].get<std::string>().starts_with("Execute:");
}

bool IsStepOfUpdate(const json& line) {
  return IsPhase(line, "register") || IsPhase(line, "prepare") || IsPhase(line, "write") || IsPhase(line, "record");
}

class LostLines : public BackgroundOrvhost {
 protected:
  std::string Newest() const { return "journal/" + ListJournals(folder_ / "journal").runs.back() + ".jsonl"; }

  // Keeps these lines of the newest run, and puts `rest` behind them.
  void Keep(const Keeps& keeps, const std::string& rest = "") const {
    std::istringstream lines(folder_.Read(Newest()));
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
      if (keeps(json::parse(line))) {
        kept += line + "\n";
      }
    }
    folder_.Write(Newest(), kept + rest);
  }

  void LeaveInTheFlash() { Kill(StartAtTheGate(UpdateAgain(good_), "waits")); }
};

TEST_F(LostLines, WhatIsLeftShowsTheFlash) {
  const std::vector<std::pair<std::string, Keeps>> rows = {
      {"all", [](const json&) { return true; }},
      {"without the registering", [](const json& line) { return !IsPhase(line, "register"); }},
      {"without any step of an update", [](const json& line) { return !IsStepOfUpdate(line); }},
      {"without the beginning", [](const json& line) { return line["kind"] != "begin"; }},
      {"the flash line alone", IsFlashLine},
      {"the beginning and the flash line",
       [](const json& line) { return line["kind"] == "begin" || IsFlashLine(line); }},
  };
  LeaveInTheFlash();
  const std::string whole = folder_.Read(Newest());
  for (const auto& [what, keeps] : rows) {
    folder_.Write(Newest(), whole);
    Keep(keeps);
    const json object = RunJson("diagnose");
    EXPECT_EQ(object["verdict"], "flash-incomplete") << what << object;
    EXPECT_EQ(object["flash_touched"], true) << what;
    EXPECT_EQ(object["facts"].value("next_step", "").find("Keep the machine powered"), 0U) << what;
  }
}

TEST_F(LostLines, ACommandOrAnEndThatIsLeftShowsTheFlashToo) {
  const std::string line = R"({"t":"x","s":9,"kind":)";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {R"("command","n":7,"line":"\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"a.ima\""})", "flash-incomplete"},
      {R"("command","n":7,"line":"/p/bmcup.sh < /p/Yes"})", "flash-incomplete"},
      {R"("trace","level":1,"text":"Yafuflash command return=1"})", "flash-incomplete"},
      {R"("phase","name":"record"})", "written-not-recorded"},
      {R"("end","outcome":{"command":"update","verdict":"unexpected","exit_code":8,"flash_touched":true}})",
       "flash-incomplete"},
      {R"("end","outcome":{"command":"update","verdict":"updated","exit_code":0}})", "written"},
  };
  LeaveInTheFlash();
  const std::string whole = folder_.Read(Newest());
  for (const std::string& begin : {whole.substr(0, whole.find('\n') + 1), std::string()}) {
    for (const auto& [rest, verdict] : rows) {
      std::string text = begin;
      text.append(line).append(rest).append("\n");
      folder_.Write(Newest(), text);
      const json object = RunJson("diagnose last");
      EXPECT_EQ(object["verdict"], verdict) << rest << object;
      EXPECT_EQ(object["flash_touched"], true) << rest;
    }
  }
}

TEST_F(LostLines, AFlashCommandThatWasNeverStartedShowsNone) {
  LeaveInTheFlash();
  const std::string command = R"({"t":"x","s":9,"kind":"command","n":7,"line":"/p/bmcup.sh < /p/Yes"})";
  const std::string end = R"({"t":"x","s":9,"kind":"command_end","n":7,"result":"not-started","exit_code":null})";
  Keep([](const json& line) { return line["kind"] == "begin" || IsPhase(line, "write"); }, command + "\n" + end + "\n");
  EXPECT_EQ(RunJson("diagnose")["verdict"], "flash-untouched");
}

TEST_F(LostLines, WhereTheyProveNothingTheFlashIsUnknown) {
  ASSERT_EQ(Run(Update(good_)), 0);
  LeaveInTheFlash();
  const std::string whole = folder_.Read(Newest());
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, whole.find("register"), whole.find("Execute:")}) {
    folder_.Write(Newest(), whole.substr(0, size));
    for (const char* command : {"diagnose", "diagnose last"}) {
      const json object = RunJson(command);
      EXPECT_EQ(object["verdict"], "flash-unknown") << size << object;
      EXPECT_EQ(object["facts"].value("next_step", "").find("Keep the machine powered"), 0U) << size;
    }
  }
  // Cut between two lines, it is damaged for nobody to see; but the records know of an update in the middle of writing.
  folder_.Write(Newest(), whole.substr(0, whole.find('\n') + 1));
  EXPECT_EQ(RunJson("diagnose")["verdict"], "flash-unknown");
  std::filesystem::remove(folder_ / Newest());
  EXPECT_EQ(RunJson("diagnose")["verdict"], "flash-unknown");
}

TEST_F(LostLines, OfARunThatTheRecordsClearDoNotMatter) {
  ASSERT_EQ(Run("update missing.zip"), 5);
  Keep([](const json& line) { return line["kind"] != "end"; }, "garbage\n");
  EXPECT_EQ(RunJson("diagnose")["verdict"], "nothing-to-diagnose");
  EXPECT_EQ(RunJson("diagnose last")["verdict"], "flash-unknown");
}

TEST_F(LostLines, OfAnApplyLeaveOpenWhetherTheFlagIsArmed) {
  ASSERT_EQ(Run(Update(good_)), 0);
  ASSERT_EQ(Run("apply --yes"), 0);
  Keep([](const json& line) { return line["kind"] == "begin" || line["kind"] == "phase"; }, "garbage\n");
  const json object = RunJson("diagnose");
  EXPECT_EQ(object["verdict"], "apply-incomplete");
  EXPECT_EQ(object["facts"]["update_marker"], "unknown");
  EXPECT_EQ(object["facts"].value("next_step", "").find("Shut the machine down by hand"), 0U) << object;
}

TEST_F(LostLines, AnUpdateThatOnlyTheRecordsKnowIsWritten) {
  ASSERT_EQ(Run(Update(good_)), 0);
  std::filesystem::remove_all(folder_ / "journal");
  const json object = RunJson("diagnose");
  EXPECT_EQ(object["verdict"], "written");
  EXPECT_EQ(object["facts"].value("next_step", "").find("Run \"orvhost verify\""), 0U) << object;
}

TEST_F(LostLines, ARunWithoutAJournalIsSeenAtWork) {
  Kill(StartAtTheGate(Update(good_), "runs-tool"));
  std::filesystem::remove_all(folder_ / "journal");
  const json object = RunJson("diagnose");
  EXPECT_EQ(object["verdict"], "at-work");
  EXPECT_NE(object["facts"].value("at_work", "").find("(sh -c "), std::string::npos) << object;
  EXPECT_EQ(object["facts"].value("next_step", "").find("Keep the machine powered and wait"), 0U) << object;
  OpenTheGate();
  StartAtTheGate(Update(good_), "waits");
  std::filesystem::remove_all(folder_ / "journal");
  EXPECT_EQ(RunJson("diagnose")["verdict"], "at-work");
  OpenTheGate();
}

}  // namespace
}  // namespace orvhost
