// The metrics: each value in each state that a machine can be in, and where they are written. None loads the plug-in.
#include <sys/stat.h>

#include "orvhost/journal/standing.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

class Metrics : public BackgroundOrvhost {
 protected:
  // The samples by their names, labels included.
  std::map<std::string, std::string> Samples(int exitCode = 0) {
    const std::string plugin = std::exchange(plugin_, "/missing.so");
    EXPECT_EQ(RunJson("metrics")["exit_code"], exitCode);
    EXPECT_EQ(Run("metrics"), exitCode);
    plugin_ = plugin;
    std::map<std::string, std::string> samples;
    std::istringstream lines(out_);
    for (std::string line; std::getline(lines, line);) {
      const std::size_t blank = line.rfind(' ');
      if (!line.starts_with('#')) {
        samples[line.substr(0, blank)] = line.substr(blank + 1);
      }
    }
    return samples;
  }

  std::string LastRun(const std::string& command, const std::string& verdict) const {
    return "orvhost_last_run_info{run=\"" + ListJournals(folder_ / "journal").runs.back() + "\",command=\"" + command +
           "\",verdict=\"" + verdict + "\"}";
  }

  static std::string Versions(const std::string& running, const std::string& installed, const std::string& previous) {
    return "orvhost_firmware_info{running=\"" + running + "\",installed=\"" + installed + "\",previous=\"" + previous +
           "\"}";
  }
};

TEST_F(Metrics, BeforeTheFirstRun) {
  const auto samples = Samples();
  EXPECT_EQ(samples, (std::map<std::string, std::string>{{Versions("", "", ""), "1"},
                                                         {"orvhost_running_version_timestamp_seconds", "NaN"},
                                                         {"orvhost_update_pending", "0"},
                                                         {"orvhost_flash_unfinished", "0"},
                                                         {"orvhost_run_at_work", "0"},
                                                         {"orvhost_journal_readable", "1"},
                                                         {"orvhost_records_readable", "1"}}));
}

TEST_F(Metrics, OfAnUpdateUpToItsVerification) {
  ASSERT_EQ(Run(Update(good_)), 0);
  auto samples = Samples();
  EXPECT_EQ(samples.count(Versions("01-23", "01-24", "01-23")), 1U) << out_;
  EXPECT_EQ(samples["orvhost_update_pending"], "1");
  EXPECT_EQ(samples["orvhost_flash_unfinished"], "0");
  EXPECT_EQ(samples.count(LastRun("update", "updated")), 1U) << out_;
  EXPECT_EQ(samples["orvhost_last_run_exit_code"], "0");
  EXPECT_NEAR(std::stod(samples["orvhost_last_run_timestamp_seconds"]), static_cast<double>(time(nullptr)), 60);
  EXPECT_NEAR(std::stod(samples["orvhost_running_version_timestamp_seconds"]), static_cast<double>(time(nullptr)), 60);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  ASSERT_EQ(Run("verify"), 0);
  samples = Samples();
  EXPECT_EQ(samples.count(Versions("01-24", "01-24", "01-23")), 1U) << out_;
  EXPECT_EQ(samples["orvhost_update_pending"], "0");
  EXPECT_EQ(samples.count(LastRun("verify", "verified")), 1U) << out_;
}

TEST_F(Metrics, OfARunAtWorkAndOfTheSameRunKilled) {
  ASSERT_EQ(Run("identify"), 0);
  const std::string identified = LastRun("identify", "identified");
  const pid_t update = StartAtTheGate(Update(good_), "waits");
  auto samples = Samples();
  EXPECT_EQ(samples["orvhost_run_at_work"], "1");
  EXPECT_EQ(samples["orvhost_flash_unfinished"], "0");
  EXPECT_EQ(samples.count(identified), 1U) << out_;
  Kill(update);
  samples = Samples();
  EXPECT_EQ(samples["orvhost_run_at_work"], "0");
  EXPECT_EQ(samples["orvhost_flash_unfinished"], "1");
  EXPECT_EQ(samples.count(LastRun("update", "cut-off")), 1U) << out_;
  EXPECT_EQ(samples["orvhost_last_run_exit_code"], "-1");
  // Neither a question nor a lost journal hides it, and a good update ends it.
  ASSERT_EQ(Run("identify"), 0);
  EXPECT_EQ(Samples()["orvhost_flash_unfinished"], "1");
  std::filesystem::remove_all(folder_ / "journal");
  EXPECT_EQ(Samples()["orvhost_flash_unfinished"], "1");
  ASSERT_EQ(Run(Update(good_)), 0);
  EXPECT_EQ(Samples()["orvhost_flash_unfinished"], "0");
}

TEST_F(Metrics, OfAFailedFlash) {
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  auto samples = Samples();
  EXPECT_EQ(samples["orvhost_flash_unfinished"], "1");
  EXPECT_EQ(samples["orvhost_last_run_exit_code"], "8");
  EXPECT_EQ(samples.count(LastRun("update", "update-failed")), 1U) << out_;
}

TEST_F(Metrics, WhatCannotBeReadIsUnknownAndSaid) {
  ASSERT_EQ(Run(Update(good_)), 0);
  std::filesystem::create_directory(folder_ / "journal/00000009-20261121T120000Z.jsonl");
  auto samples = Samples(7);
  EXPECT_EQ(samples["orvhost_journal_readable"], "0");
  EXPECT_EQ(samples["orvhost_flash_unfinished"], "NaN");
  EXPECT_EQ(samples.count(LastRun("", "unreadable")), 1U) << out_;
  const std::string errors = err_;
  EXPECT_EQ(RunJson("metrics --out \"" + (folder_ / "orvhost.prom") + "\"")["verdict"], "journal-unreadable");
  EXPECT_NE(folder_.Read("orvhost.prom").find("orvhost_journal_readable 0\n"), std::string::npos);
  EXPECT_NE(errors.find("00000009-20261121T120000Z.jsonl cannot be read: it is no regular file"), std::string::npos);
  std::filesystem::remove_all(folder_ / "journal/00000009-20261121T120000Z.jsonl");
  folder_.Write("repository/state.json", "{");
  samples = Samples(7);
  EXPECT_EQ(samples["orvhost_records_readable"], "0");
  EXPECT_EQ(samples["orvhost_update_pending"], "NaN");
  EXPECT_EQ(samples["orvhost_flash_unfinished"], "0");
  EXPECT_EQ(RunJson("metrics")["verdict"], "records-damaged");
}

TEST_F(Metrics, WhatStandsInALabelCannotLeaveIt) {
  ASSERT_EQ(Run(Update(good_)), 0);
  std::string state = folder_.Read("repository/state.json");
  for (std::size_t at = 0; (at = state.find("\"01-23\"", at)) != std::string::npos;) {
    state.replace(at, 7, R"("a\"} 1\nb\\")");
  }
  folder_.Write("repository/state.json", state);
  EXPECT_EQ(Samples().count(Versions("01-23", "01-24", R"(a\"} 1\\nb\\)")), 1U) << out_;
}

TEST_F(Metrics, AFileIsReplacedAsAWholeAndReadableByAll) {
  ASSERT_EQ(Run("metrics --out \"" + (folder_ / "orvhost.prom") + "\""), 0);
  EXPECT_EQ(out_, "The metrics are written to " + (folder_ / "orvhost.prom") + ".\n");
  const std::string first = folder_.Read("orvhost.prom");
  EXPECT_EQ(RunJson("metrics --out \"" + (folder_ / "orvhost.prom") + "\"")["verdict"], "measured");
  EXPECT_EQ(folder_.Read("orvhost.prom"), first);
  struct stat status {};
  ASSERT_EQ(stat((folder_ / "orvhost.prom").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0644U);
  ASSERT_EQ(Run("metrics"), 0);
  EXPECT_EQ(out_, first);
}

TEST_F(Metrics, FailsForAFileThatCannotBeMade) {
  const std::string folder = folder_ / "taken";
  std::filesystem::create_directory(folder);
  json object = RunJson("metrics --out \"" + folder + "\"");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["verdict"], "file-unusable");
  EXPECT_EQ(object["error"]["cause"], "The file cannot be made: " + folder + " is a folder.");
  object = RunJson("metrics --out \"" + folder + "/none/file.prom\"");
  EXPECT_EQ(object["error"]["cause"], "The file cannot be made: " + folder + "/none is no folder.");
  object = RunJson("metrics --out /dev/full");
  EXPECT_EQ(object["error"]["cause"], "The file cannot be made: /dev/full is no regular file.");
  object = RunJson("metrics --out /proc/orvhost.prom");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "file-not-written");
}

TEST(SecondsOf, TimesOfAJournalAndOtherTexts) {
  EXPECT_EQ(SecondsOf("1970-01-02T00:00:01Z"), 86401.0);
  EXPECT_NEAR(SecondsOf("2026-01-31T12:00:00.250000Z").value_or(0), 1769860800.25, 1e-6);
  for (const char* text : {"", "Z", "2026-01-31", "2026-01-31T12:00:00", "2026-01-31T12:00:00.5", "yesterday"}) {
    EXPECT_EQ(SecondsOf(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace orvhost
