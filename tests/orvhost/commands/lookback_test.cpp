// What the tool tells of runs that are over: history, show, diagnose. None of them loads the plug-in.
#include <algorithm>

#include "orvhost/journal/journal_folder.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

class Lookback : public BackgroundOrvhost {
 protected:
  std::vector<std::string> Runs() const { return ListJournals(folder_ / "journal").runs; }
  std::string Path(std::size_t at) const { return JournalPath(folder_ / "journal", Runs().at(at)); }

  void Append(std::size_t at, const std::string& text) const { std::ofstream(Path(at), std::ios::app) << text; }

  // Runs a subcommand that looks back, without a plug-in that it could load, and sees that it changes nothing.
  json Look(const std::string& arguments) {
    const std::string plugin = std::exchange(plugin_, "/missing.so");
    const auto before = Tree();
    const auto runs = Runs();
    json object = RunJson(arguments);
    EXPECT_EQ(Tree(), before);
    EXPECT_EQ(Runs(), runs);
    plugin_ = plugin;
    return object;
  }
};

TEST_F(Lookback, HistoryWithoutRunsSaysSo) {
  const json object = Look("history");
  EXPECT_EQ(object["verdict"], "no-runs");
  EXPECT_EQ(object["runs"], json::array());
  EXPECT_EQ(Run("history"), 0);
  EXPECT_EQ(out_, "No run has left a journal in " + (folder_ / "journal") + ".\n");
}

TEST_F(Lookback, HistoryTellsEveryRunInOneLine) {
  ASSERT_EQ(Run(Update(good_)), 0);
  ASSERT_EQ(Run("update missing.zip"), 5);
  Kill(StartAtTheGate(UpdateAgain(good_), "waits"));
  StartAtTheGate(Update(good_), "waits");
  const json object = Look("history");
  ASSERT_EQ(object["runs"].size(), 4U);
  const json& first = object["runs"][0];
  EXPECT_EQ(first["command"], "update");
  EXPECT_EQ(first["package"], good_);
  EXPECT_EQ(first["before"], "01-23");
  EXPECT_EQ(first["after"], "01-24");
  EXPECT_EQ(first["verdict"], "updated");
  EXPECT_EQ(first["exit_code"], "0");
  EXPECT_EQ(object["runs"][1]["exit_code"], "5");
  EXPECT_EQ(object["runs"][2]["verdict"], "cut off in step write");
  EXPECT_EQ(object["runs"][2]["exit_code"], "");
  EXPECT_EQ(object["runs"][3]["verdict"], "at work");
  EXPECT_EQ(Run("history"), 0);
  EXPECT_EQ(std::ranges::count(out_, '\n'), 5) << out_;
  EXPECT_EQ(out_.find("RUN  "), 0U) << out_;
  EXPECT_NE(out_.find("  update   good.zip 01-23 -> 01-24  updated "), std::string::npos) << out_;
  EXPECT_EQ(out_.find(" \n"), std::string::npos) << out_;
  OpenTheGate();
}

TEST_F(Lookback, AJournalOfTheFirstSchemaIsReadAsAnyOther) {
  std::filesystem::create_directory(folder_ / "journal");
  folder_.Write(
      "journal/00000001-20261121T120000Z.jsonl",
      R"({"t":"2026-11-21T12:00:00.000000Z","s":0.0,"kind":"begin","schema":1,"command":"update",)"
      R"("options":{"package":"/a/good.zip","dry_run":false},"server_type":"kv6000"})"
      "\n"
      R"({"t":"2026-11-21T12:00:01.000000Z","s":1.0,"kind":"phase","name":"record"})"
      "\n"
      R"({"t":"2026-11-21T12:00:02.000000Z","s":2.0,"kind":"end","outcome":{"schema":1,"command":"update",)"
      R"("verdict":"updated","exit_code":0,"before":"01-23","after":"01-24","phase":"record","summary":"Written.",)"
      R"("facts":{"Package":"/a/good.zip"},"error":null}})"
      "\n");
  const json object = Look("history");
  EXPECT_EQ(object["notices"], json::array());
  EXPECT_EQ(object["runs"][0]["verdict"], "updated");
  EXPECT_EQ(object["runs"][0]["after"], "01-24");
  EXPECT_EQ(Look("show 1")["timeline"].back()["kind"], "end");
}

TEST_F(Lookback, ShowTellsTheStoryOfARun) {
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  EXPECT_EQ(Run("show last"), 0);
  for (const char* part :
       {"orvhost update on a server of type kv6000", "  reads the package\n", "  writes the firmware\n",
        "  begins: Execute:\"/opt/orv/KV6KBMC/Yafuflash\"",
        "  reports MSGID_BMC_0013_F The flash tool did not succeed in writing the firmware (161616: "
        "the flash tool reported an error (3 times)).\n",
        "  fails: Failed to execute update command",
        "  ends: update-failed, exit code 8; The update failed after writing the firmware had begun. "
        "Next step: Keep the machine powered"}) {
    EXPECT_NE(out_.find(part), std::string::npos) << part << "\n" << out_;
  }
  const json object = Look("show 0000");
  EXPECT_EQ(object["facts"]["run"], Runs().at(0));
  EXPECT_EQ(object["timeline"][0]["kind"], "phase");
  EXPECT_EQ(object["timeline"].back()["kind"], "end");
}

TEST_F(Lookback, ShowWritesAPageToANewFile) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const std::string page = folder_ / "run.html";
  ASSERT_EQ(Run("show last --html \"" + page + "\""), 0);
  EXPECT_EQ(out_.find("The page of run " + Runs().at(0) + " is written to " + page + ".\n"), 0U) << out_;
  const std::string text = folder_.Read("run.html");
  EXPECT_EQ(text.find("<!DOCTYPE html>"), 0U);
  EXPECT_NE(text.find("Firmware <b>01-23</b> &rarr; <b>01-24</b>"), std::string::npos);
  EXPECT_TRUE(text.ends_with("</html>\n"));
  json object = Look("show 1 --html \"" + page + "\"");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["error"]["cause"], "The file cannot be made: " + page + " is there already.");
  object = Look("show 1 --html \"" + installPath_ + "\"");
  EXPECT_EQ(object["error"]["cause"], "The file cannot be made: " + installPath_ + " is a folder.");
}

TEST_F(Lookback, FailsForAPageThatIsNotWrittenToItsEnd) {
  ASSERT_EQ(Run(Update(good_)), 0);
  prefix_ = "ulimit -f 4; ";
  const json object = Look("show 1 --html \"" + (folder_ / "run.html") + "\"");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "file-not-written");
  EXPECT_NE(object["error"].value("cause", "").find("File too large"), std::string::npos) << object;
}

TEST_F(Lookback, FailsForARunThatIsNotThereOrNotTheOnlyOne) {
  for (const char* command : {"show last", "show x", "diagnose last"}) {
    EXPECT_EQ(Look(command)["exit_code"], 2) << command;
  }
  ASSERT_EQ(Run("identify"), 0);
  ASSERT_EQ(Run("identify"), 0);
  const json object = Look("show 0000");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["verdict"], "no-such-run");
  EXPECT_EQ(object["error"]["cause"], "More than one run begins with \"0000\": 2 of them.");
  EXPECT_EQ(Look("show 00000002")["exit_code"], 0);
  EXPECT_EQ(Look("show 2")["facts"]["run"], Runs().at(1));
  EXPECT_EQ(Look("show 3")["exit_code"], 2);
  EXPECT_EQ(Look("diagnose nothing")["error"]["cause"], "There is no run \"nothing\".");
}

TEST_F(Lookback, DamagedLinesAreCountedSkippedAndSaid) {
  ASSERT_EQ(Run(Update(good_)), 0);
  Append(0, "garbage\n{}\n{\"kind\": 3}\n\n{\"kind\": \"tr");
  for (const char* command : {"show last", "diagnose"}) {
    const json object = Look(command);
    const std::string id = Runs().at(0);
    EXPECT_EQ(object["notices"], json::array({"3 damaged lines of run " + id + " were skipped.",
                                              "The last line of run " + id + " is torn and was skipped."}));
  }
  EXPECT_EQ(Look("diagnose")["verdict"], "written");
  EXPECT_EQ(Look("history")["notices"].size(), 2U);
  EXPECT_EQ(Run("show last"), 0);
  EXPECT_EQ(err_.find("orvhost: 3 damaged lines of run "), 0U) << err_;
  folder_.Write("journal/00000009-20261121T120000Z.jsonl", "");
  folder_.Write("journal/00000008-20261121T120000Z.jsonl",
                R"({"s": 1, "t": "x", "kind": "begin", "options": 3, "command": []})"
                "\n");
  EXPECT_EQ(Look("history")["exit_code"], 0);
  EXPECT_EQ(Look("show 00000009")["exit_code"], 0);
  EXPECT_EQ(Look("show 00000008")["exit_code"], 0);
  EXPECT_EQ(Look("diagnose 00000008")["verdict"], "flash-unknown");
}

TEST_F(Lookback, DiagnoseWithoutARunThatCouldHaveChangedAnythingSaysSo) {
  ASSERT_EQ(Run("identify"), 0);
  ASSERT_EQ(Run("update missing.zip"), 5);
  ASSERT_EQ(Run(Update(good_) + " --dry-run"), 0);
  const json object = Look("diagnose");
  EXPECT_EQ(object["verdict"], "nothing-to-diagnose");
  EXPECT_FALSE(object["facts"].contains("next_step"));
  EXPECT_EQ(Look("diagnose last")["verdict"], "nothing-changed");
}

TEST_F(Lookback, DiagnoseOfALostJournalRestsOnTheRecords) {
  Kill(StartAtTheGate(Update(good_), "waits"));
  std::filesystem::remove_all(folder_ / "journal");
  const json object = Look("diagnose");
  EXPECT_EQ(object["verdict"], "flash-unknown");
  EXPECT_EQ(object["facts"]["records"], "cut off while it was written");
  EXPECT_NE(object["facts"].value("next_step", "").find("run \"orvhost update PACKAGE\" again"), std::string::npos);
}

TEST_F(Lookback, DiagnoseOfAKilledUpdateTellsThatTheFlashHadBegun) {
  Kill(StartAtTheGate(Update(good_), "waits"));
  Append(0, "{\"t\": \"2026-01-31T12");
  EXPECT_EQ(Run("diagnose"), 0);
  const std::string id = Runs().at(0);
  EXPECT_EQ(err_, "orvhost: The last line of run " + id + " is torn and was skipped.\n");
  EXPECT_EQ(out_.substr(out_.find('\n') + 1),
            "  Run:           " + id +
                "\n"
                "  End:           cut off in step \"write\"\n"
                "  Machine:       has been up since\n"
                "  Flash:         writing it had begun, and its end is not in the journal\n"
                "  BMC:           runs the firmware that it ran before; the image beside it may be incomplete\n"
                "  Update marker: not made by this run\n"
                "  Records:       cut off while it was written\n"
                "  Unknown:       Whether the image in the BMC is whole.\n"
                "  Next step:     Keep the machine powered, do not reboot it, and run \"orvhost update " +
                ShellWord(good_) + "\" again.\n");
  EXPECT_EQ(Look("diagnose")["flash_touched"], true);
  // Neither questions nor a run that did not come that far displace it.
  ASSERT_EQ(Run("identify"), 0);
  ASSERT_EQ(Run("update missing.zip"), 5);
  EXPECT_EQ(Look("diagnose")["facts"]["run"], id);
  Ask("unprepared");
  ASSERT_EQ(Run(Update(good_)), 7);
  const json later = Look("diagnose");
  EXPECT_EQ(later["verdict"], "flash-untouched");
  EXPECT_EQ(later["facts"]["before"], "run " + id + " had begun to write the flash and did not finish it");
}

TEST_F(Lookback, DiagnoseWhileAToolIsStillAtWorkSaysToWait) {
  Kill(StartAtTheGate(Update(good_), "runs-tool"));
  json object = Look("diagnose");
  EXPECT_EQ(object["verdict"], "at-work");
  EXPECT_NE(object["facts"].value("at_work", "").find("(sh -c "), std::string::npos) << object;
  OpenTheGate();
  EXPECT_EQ(Look("diagnose")["verdict"], "flash-incomplete");
  StartAtTheGate(Update(good_), "waits");
  object = Look("diagnose");
  EXPECT_EQ(object["verdict"], "at-work");
  EXPECT_EQ(object["facts"]["end"], "none yet; it is in step \"write\"");
  EXPECT_EQ(object["facts"]["records"], "being written");
  OpenTheGate();
  EXPECT_EQ(Look("diagnose")["verdict"], "written");
}

TEST_F(Lookback, ARunThatIsAtWorkWithoutItsNoteIsNotSaidToBeCutOff) {
  StartAtTheGate(Update(good_), "waits");
  std::filesystem::remove(folder_ / "orvhost.run");
  EXPECT_EQ(Look("history")["runs"][0]["verdict"], "at work or cut off in step write");
  const json object = Look("diagnose");
  EXPECT_EQ(object["verdict"], "processes-unreadable");
  EXPECT_NE(object["error"].value("cause", "").find("orvhost.lock is locked, and the note beside it does not say"),
            std::string::npos)
      << object;
  OpenTheGate();
  EXPECT_EQ(Look("diagnose")["verdict"], "written");
}

TEST_F(Lookback, DiagnoseKnowsWhetherTheMachineWasStartedAnewSince) {
  ASSERT_EQ(Run(Update(good_)), 0);
  ASSERT_EQ(Run("apply --yes"), 0);
  json object = Look("diagnose");
  EXPECT_EQ(object["facts"]["machine"], "has been up since");
  EXPECT_NE(object["facts"].value("next_step", "").find("Shut the machine down by hand"), std::string::npos) << object;
  std::string text = folder_.Read("journal/" + Runs().at(1) + ".jsonl");
  const std::size_t id = text.find("\"boot_id\":\"") + 11;
  text[id] = text[id] == '0' ? '1' : '0';
  folder_.Write("journal/" + Runs().at(1) + ".jsonl", text);
  object = Look("diagnose");
  EXPECT_EQ(object["facts"]["machine"], "was started anew since");
  EXPECT_EQ(object["facts"].value("next_step", "").find("Run \"orvhost verify\""), 0U) << object;
}

TEST_F(Lookback, DiagnoseOfAVerifiedUpdateHasNothingToDo) {
  ASSERT_EQ(Run(Update(good_)), 0);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  ASSERT_EQ(Run("verify"), 0);
  EXPECT_EQ(Look("diagnose")["verdict"], "verified");
}

TEST_F(Lookback, QuietSaysNothingOfIt) {
  ASSERT_EQ(Run(Update(good_)), 0);
  for (const char* command : {"history --quiet", "show last --quiet", "diagnose --quiet"}) {
    EXPECT_EQ(Run(command), 0);
    EXPECT_EQ(out_ + err_, "") << command;
  }
}

}  // namespace
}  // namespace orvhost
