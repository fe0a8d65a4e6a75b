#include "orvhost/journal/journal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "host/DllCommon.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/run/error_output_watch.h"
#include "orvhost/trace/line_sink.h"
#include "tests/refhost/support/host_test.h"

namespace {

// Sizes that files had when they were brought to the disk.
std::vector<off_t> syncedSizes;

bool diskFails = false;

}  // namespace

// In the place of the system's: takes note, and the disk is spared; fails when a test wants it to.
extern "C" int fdatasync(int descriptor) {
  struct stat status {};
  syncedSizes.push_back(fstat(descriptor, &status) == 0 ? status.st_size : -1);
  errno = EIO;
  return diskFails ? -1 : 0;
}

namespace orvhost {

namespace {

using nlohmann::json;

constexpr unsigned long kNoLimit = ~0UL;

class FlightJournal : public refhost::HostTest {
 protected:
  FlightJournal() {
    syncedSizes.clear();
    options_.installPath = folder_.Path();
    options_.pluginPath = "/plug-in.so";
    tee_.Add(std::make_unique<Handing>(&watch_));
    tee_.Add(std::make_unique<JournalSink>(&journal_, &watch_));
  }
  ~FlightJournal() override { refhost::SetCommandObserver(nullptr); }

  void Begin() {
    std::string error;
    ASSERT_TRUE(journal_.Begin("00000001-20260131T120000Z", "update", options_, &error)) << error;
    refhost::SetTraceSink(&tee_);
    refhost::SetCommandObserver(&journal_);
  }

  std::string Text() const { return folder_.Read("journal/00000001-20260131T120000Z.jsonl"); }

  std::vector<json> Entries() const {
    std::vector<json> lines;
    std::istringstream text(Text());
    for (std::string line; std::getline(text, line);) {
      if (!line.empty()) {  // what closes a line that may be torn
        lines.push_back(json::parse(line));
      }
    }
    return lines;
  }

  // The kinds of the lines that were the last ones when the file was brought to the disk.
  refhost::Lines SyncedKinds() const {
    refhost::Lines kinds;
    for (const off_t size : syncedSizes) {
      const std::string text = Text().substr(0, static_cast<std::size_t>(size));
      EXPECT_EQ(text.back(), '\n');
      kinds.push_back(json::parse(text.substr(text.rfind('\n', text.size() - 2) + 1))["kind"]);
    }
    return kinds;
  }

  // The last line without what differs from run to run.
  json Last() const {
    json line = Entries().back();
    line.erase("t");
    line.erase("s");
    return line;
  }

  // The watch stays the test's.
  class Handing : public refhost::TraceSink {
   public:
    explicit Handing(refhost::TraceSink* to) : to_(to) {}
    void Write(const refhost::TraceRecord& record) override { to_->Write(record); }

   private:
    refhost::TraceSink* to_;
  };

  int Exec(const std::string& command, const std::string& outputFile = "", unsigned long limit = kNoLimit) {
    unsigned long exitCode = 0;
    return CCommon_Information::ExecForeignModule(command, outputFile, "", &exitCode, limit);
  }

  Options options_;
  TraceWatch watch_;
  Journal journal_;
  TeeSink tee_;
};

TEST_F(FlightJournal, BeginsWithWhatTheRunIs) {
  options_.packagePath = "/a b/p.zip";
  Begin();
  const json begin = Entries().at(0);
  EXPECT_EQ(begin["kind"], "begin");
  EXPECT_EQ(begin["schema"], 2);
  EXPECT_EQ(begin["run_id"], "00000001-20260131T120000Z");
  EXPECT_EQ(begin["command"], "update");
  EXPECT_EQ(begin["options"]["package"], "/a b/p.zip");
  EXPECT_EQ(begin["options"]["dry_run"], false);
  EXPECT_EQ(begin["plugin"], "/plug-in.so");
  EXPECT_EQ(begin["install_path"], folder_.Path());
  EXPECT_EQ(begin["server_type"], "kv6000");
  EXPECT_EQ(begin["pid"], getpid());
  EXPECT_EQ(begin["boot_id"].get<std::string>().size(), 36U);
  EXPECT_NE(begin["program"], "");
  EXPECT_NE(begin["version"], "");
  EXPECT_EQ(begin["t"].get<std::string>().size(), refhost::kTraceTimeWidth - 1);
  EXPECT_GE(begin["s"], 0.0);
}

TEST_F(FlightJournal, KeepsTraceLinesAndRecords) {
  Begin();
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_RETRY, "Failed");
  EXPECT_EQ(Last(), json({{"kind", "trace"}, {"level", 16}, {"text", "Failed"}}));
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0012_F", "14");
  const json record = Last();
  EXPECT_EQ(record["kind"], "record");
  EXPECT_EQ(record["id"], "MSGID_BMC_0012_F");
  EXPECT_EQ(record["detail"], "14");
  EXPECT_EQ(record["text"].get<std::string>().find("MSGID_BMC_0012_F The BMC did not carry out"), 0U);
}

TEST_F(FlightJournal, KeepsPhasesNoticesAndTheEnd) {
  Begin();
  journal_.Phase("write");
  EXPECT_EQ(Last(), json({{"kind", "phase"}, {"name", "write"}}));
  journal_.Notice("A word.");
  EXPECT_EQ(Last(), json({{"kind", "notice"}, {"text", "A word."}}));
  Outcome outcome;
  outcome.verdict = "updated";
  journal_.End(outcome);
  EXPECT_EQ(Last(), json({{"kind", "end"}, {"outcome", json::parse(ToJson(outcome))}}));
  journal_.Phase("after the end");
  EXPECT_EQ(Last()["kind"], "end");
}

TEST_F(FlightJournal, KeepsACommandItsEndAndItsResponse) {
  Begin();
  const std::string file = folder_ / "IPMIResult0001";
  const std::string command = "echo ' 20 01' > \"" + file + "\"";
  EXPECT_EQ(Exec(command, "", 350000), 0);
  const auto lines = Entries();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[1]["kind"], "command");
  EXPECT_EQ(lines[1]["n"], 1);
  EXPECT_EQ(lines[1]["line"], command);
  EXPECT_EQ(lines[1]["limit_ms"], 350000);
  EXPECT_EQ(lines[2]["kind"], "command_end");
  EXPECT_EQ(lines[2]["n"], 1);
  EXPECT_EQ(lines[2]["result"], "exited");
  EXPECT_EQ(lines[2]["exit_code"], 0);
  EXPECT_EQ(Last(), json({{"kind", "response"}, {"n", 1}, {"text", " 20 01\n"}, {"cut", false}}));
}

TEST_F(FlightJournal, WithoutTheLineThatSaysSoTheFlashToolIsNotStarted) {
  Begin();
  ErrorOutputWatch observer(&watch_, &journal_, &journal_, false);
  refhost::SetCommandObserver(&observer);
  const std::string tool = "touch \"" + (folder_ / "flash") + "\"";
  for (const bool fails : {true, false}) {
    diskFails = fails;
    CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "Execute:%s", tool.c_str());
    EXPECT_TRUE(watch_.FlashBegan());
    diskFails = false;
    Exec("true");
    EXPECT_EQ(Last()["result"], "exited") << "no other command is refused";
    Exec(tool);
    EXPECT_EQ(Last()["result"], fails ? "not-started" : "exited");
    EXPECT_EQ(watch_.FlashBegan(), !fails);
    EXPECT_EQ(folder_.Has("flash"), !fails);
  }
}

TEST_F(FlightJournal, TellsHowACommandEnded) {
  Begin();
  setenv("ORVHOST_LAB_SLEEP_SCALE", "0.001", 1);
  Exec("exit 3");
  EXPECT_EQ(Last(), json({{"kind", "command_end"}, {"n", 1}, {"result", "exited"}, {"exit_code", 3}}));
  EXPECT_EQ(Entries()[1]["limit_ms"], nullptr);
  Exec("sleep 1000", "", 1000);
  EXPECT_EQ(Last(), json({{"kind", "command_end"}, {"n", 2}, {"result", "timed-out"}, {"exit_code", nullptr}}));
  Exec("kill -KILL $$");
  EXPECT_EQ(Last(), json({{"kind", "command_end"}, {"n", 3}, {"result", "not-run"}, {"exit_code", nullptr}}));
  Exec("true", folder_ / "missing/out");
  EXPECT_EQ(Last()["result"], "not-started");
}

TEST_F(FlightJournal, CutsALongResponseAndSaysSo) {
  Begin();
  Exec("head -c 5000 /dev/zero | tr '\\0' x", folder_ / "out");
  EXPECT_EQ(Last(),
            json({{"kind", "response"}, {"n", 1}, {"text", std::string(kLongestResponse, 'x')}, {"cut", true}}));
  Exec("head -c 4096 /dev/zero | tr '\\0' x", folder_ / "out");
  EXPECT_EQ(Last()["cut"], false);
}

TEST_F(FlightJournal, KeepsNoResponseOfWhatIsNoFile) {
  Begin();
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  for (const std::string& command :
       {std::string("true"), std::string("true > \"/dev/null\""), "true \"> \"" + (folder_ / "pipe") + "\"",
        std::string("true # \""), std::string("true # > \"")}) {
    Exec(command);
    EXPECT_EQ(Last()["kind"], "command_end") << command;
  }
}

TEST_F(FlightJournal, KeepsAResultLine) {
  Begin();
  EXPECT_EQ(CCommon_Information::GetResultLine("echo one; echo two"), "one");
  EXPECT_EQ(Last(), json({{"kind", "response"}, {"n", 1}, {"text", "one"}, {"cut", false}}));
  EXPECT_EQ(Entries()[1]["line"], "echo one; echo two");
  EXPECT_EQ(Entries()[1]["limit_ms"], 60000);
}

TEST_F(FlightJournal, ReplacesBytesThatAreNotUtf8) {
  Begin();
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "%s", "a\xff\"b");
  EXPECT_EQ(Last()["text"], "a\xef\xbf\xbd\"b");
}

TEST_F(FlightJournal, TakesTheLinesOfAForkedChildAndTellsItsNumber) {
  Begin();
  const pid_t pid = fork();
  if (pid == 0) {
    CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "open [%s]", "/dev/console");
    Exec("true");
    _exit(0);
  }
  ASSERT_EQ(waitpid(pid, nullptr, 0), pid);
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "after");
  const auto lines = Entries();
  ASSERT_EQ(lines.size(), 5U);
  for (std::size_t i = 1; i < 4; ++i) {
    EXPECT_EQ(lines[i]["child"], pid);
  }
  EXPECT_FALSE(lines[4].contains("child"));
}

TEST_F(FlightJournal, IsOnTheDiskBeforeWhatMatters) {
  Begin();
  journal_.Phase("write");
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "a line");
  Exec("true");
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "Execute:tool");
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "Execute:tool");
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0012_F", "14");
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "shutdown -h now");
  journal_.Notice("A word.");
  journal_.End({});
  EXPECT_EQ(SyncedKinds(), (refhost::Lines{"begin", "phase", "command", "trace", "record", "trace", "end"}));
}

TEST_F(FlightJournal, ThatCannotBeMadeIsAnErrorAndLeavesNothing) {
  folder_.Write("journal", "a file where the folder should be");
  std::string error;
  EXPECT_FALSE(journal_.Begin("00000001-20260131T120000Z", "update", options_, &error));
  EXPECT_EQ(error, "the journal " + (folder_ / "journal/00000001-20260131T120000Z.jsonl") +
                       " cannot be written: Not a directory");
  journal_.Phase("write");
  journal_.End({});
  EXPECT_TRUE(syncedSizes.empty());
}

TEST_F(FlightJournal, DoesNotOverwriteAnother) {
  folder_.Write("journal/00000001-20260131T120000Z.jsonl", "precious");
  std::string error;
  EXPECT_FALSE(journal_.Begin("00000001-20260131T120000Z", "update", options_, &error));
  EXPECT_EQ(Text(), "precious");
}

}  // namespace
}  // namespace orvhost
