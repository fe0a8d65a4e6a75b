// The journal that a run of the tool leaves, also on a disk that takes no more.
#include <algorithm>

#include "orvhost/journal/journal_folder.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

class JournalOfARun : public BackgroundOrvhost {
 protected:
  std::vector<std::string> Runs() const { return ListJournals(folder_ / "journal").runs; }

  std::vector<json> Entries(const std::string& runId) const {
    std::vector<json> lines;
    std::istringstream text(folder_.Read("journal/" + runId + ".jsonl"));
    for (std::string line; std::getline(text, line);) {
      lines.push_back(json::parse(line));
    }
    return lines;
  }

  refhost::Lines Phases(const std::string& runId) const {
    refhost::Lines names;
    for (const json& line : Entries(runId)) {
      if (line["kind"] == "phase") {
        names.push_back(line["name"]);
      }
    }
    return names;
  }

  refhost::Lines Kinds(const std::string& runId) const {
    refhost::Lines kinds;
    for (const json& line : Entries(runId)) {
      kinds.push_back(line["kind"]);
    }
    return kinds;
  }

  // Runs the tool with a limit of `blocks` times 512 bytes on the size of the files that it writes.
  json RunWithLittleRoom(const std::string& arguments, int blocks) {
    // The output goes through a pipe, which the limit spares.
    const std::string command = "(trap '' XFSZ; ulimit -f " + std::to_string(blocks) + "; exec " +
                                CommandLine(arguments + " --json") + " 2> \"" + (folder_ / "err") + "\") | cat";
    EXPECT_EQ(CCommon_Information::ExecForeignModule(command, folder_ / "out", "", nullptr, ~0UL), 0);
    EXPECT_EQ(folder_.Read("err"), "");
    json object = json::parse(folder_.Read("out"));
    return object;
  }
};

TEST_F(JournalOfARun, OfAnUpdateHasEveryPhaseAndEndsWithTheOutcome) {
  const json object = RunJson(Update(good_));
  ASSERT_EQ(Runs(), refhost::Lines{object["run_id"]});
  EXPECT_EQ(Phases(object["run_id"]),
            (refhost::Lines{"package", "plug-in", "prerequisites", "server type", "fit", "compare", "preflight",
                            "compare", "register", "prepare", "write", "record"}));
  const auto lines = Entries(object["run_id"]);
  EXPECT_EQ(lines.front()["kind"], "begin");
  EXPECT_EQ(lines.front()["options"]["package"], good_);
  EXPECT_EQ(lines.back()["kind"], "end");
  EXPECT_EQ(json::parse(WithoutRepeated(lines.back()["outcome"].dump())), object);
  const bool flashed = std::ranges::any_of(lines, [](const json& line) {
    return line["kind"] == "trace" && line["text"].get<std::string>().find("Execute:") == 0;
  });
  EXPECT_TRUE(flashed);
}

TEST_F(JournalOfARun, IsLeftByEveryRunThatLoadsThePlugin) {
  for (const char* arguments : {"identify", "check good.zip", "update missing.zip", "apply", "verify", "report --out /",
                                "notify", "methods SendInfoToSVP", "explain 14", "history", "frobnicate"}) {
    Run(arguments);
  }
  const auto runs = Runs();
  ASSERT_EQ(runs.size(), 8U);
  EXPECT_EQ(Entries(runs[2]).front()["command"], "update");
  EXPECT_EQ(Phases(runs[4]), (refhost::Lines{"plug-in", "verify"}));
  std::filesystem::remove(folder_ / "Kestrel_BmcConfigInfo.xml");
}

TEST_F(JournalOfARun, OfAKilledRunHoldsAllUpToItsLastMoment) {
  Kill(StartAtTheGate(Update(good_), "waits"));
  const auto lines = Entries(Runs().at(0));
  EXPECT_EQ(lines.back()["kind"], "trace");
  EXPECT_EQ(lines.back()["text"].get<std::string>().find("Execute:"), 0U);
}

TEST_F(JournalOfARun, ThatIsLeftAfterAnotherIsTheNewer) {
  const json first = RunJson("identify");
  const json second = RunJson("identify");
  EXPECT_LT(first["run_id"], second["run_id"]);
}

TEST_F(JournalOfARun, ThatCannotBeWrittenStopsAnUpdateBeforeItBegins) {
  folder_.Write("journal", "a file where the folder should be");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "journal-unusable");
  EXPECT_EQ(object["phase"], "journal");
  EXPECT_EQ(object["flash_touched"], false);
  EXPECT_NE(object["error"]["cause"].get<std::string>().find("Not a directory"), std::string::npos) << object;
  EXPECT_FALSE(folder_.Has("repository"));
  EXPECT_EQ(RunJson(Update(good_))["notices"], json::array());  // the lock was given back
}

TEST_F(JournalOfARun, ThatCannotBeWrittenIsNoReasonNotToAsk) {
  folder_.Write("journal", "a file where the folder should be");
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 0) << object;
  ASSERT_EQ(object["notices"].size(), 1U);
  EXPECT_EQ(object["notices"][0].get<std::string>().find("This run leaves no journal: the journal "), 0U);
}

TEST_F(JournalOfARun, ADiskThatFillsUpDoesNotStopAnUpdateThatIsUnderWay) {
  const json object = RunWithLittleRoom(Update(good_), 4);
  EXPECT_EQ(object["verdict"], "updated") << object;
  EXPECT_EQ(object["notices"],
            json::array({"The journal of this run is incomplete, because it could not be written (File too large)."}));
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
  EXPECT_EQ(std::filesystem::file_size(JournalPath(folder_ / "journal", Runs().at(0))), 2048U);
}

TEST_F(JournalOfARun, ADiskThatIsFullStopsAnUpdateBeforeItBegins) {
  RunWithLittleRoom("identify", 4);
  const json object = RunWithLittleRoom(Update(good_), 1);
  EXPECT_EQ(object["verdict"], "journal-unusable") << object;
  EXPECT_FALSE(folder_.Has("repository"));
  EXPECT_EQ(Runs().size(), 1U);
}

TEST_F(JournalOfARun, TheFullDiskIsNamedAtTheTerminalOnce) {
  const std::string command =
      "trap '' XFSZ; ulimit -f 4; exec " + CommandLine(Update(good_)) + " 2> \"" + (folder_ / "err") + "\"";
  EXPECT_EQ(CCommon_Information::ExecForeignModule(command, "", "", nullptr, ~0UL), 0);
  EXPECT_EQ(folder_.Read("err"),
            "orvhost: The journal of this run is incomplete, because it could not be written (File too large).\n");
}

TEST_F(JournalOfARun, NoMoreThanTheNewestAreKept) {
  for (int i = 1; i <= 60; ++i) {
    folder_.Write("journal/" + NextRunId(Runs(), "2026-01-31T12:00:00.000000Z") + ".jsonl",
                  i == 3 ? R"({"kind": "begin", "command": "update", "options": {"dry_run": false}})" : "");
  }
  RunJson("identify");
  const auto runs = Runs();
  EXPECT_EQ(runs.size(), kKeptRuns + 1);
  EXPECT_EQ(runs.front().substr(0, 8), "00000003");
}

TEST_F(JournalOfARun, MakesNoDifferenceToTheAnswer) {
  json with = RunJson("identify");
  EXPECT_EQ(Kinds(with["run_id"]),
            (refhost::Lines{"begin", "phase", "trace", "phase", "phase", "trace", "trace", "end"}));
  std::filesystem::remove_all(folder_ / "journal");
  folder_.Write("journal", "a file where the folder should be");
  json without = RunJson("identify");
  EXPECT_EQ(Runs(), refhost::Lines{});
  EXPECT_EQ(with["exit_code"], 0);
  for (json* object : {&with, &without}) {
    object->erase("run_id");
    object->erase("notices");
  }
  EXPECT_EQ(with, without);
}

}  // namespace
}  // namespace orvhost
