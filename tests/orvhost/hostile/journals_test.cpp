// Journals that no run wrote, or that something happened to: every subcommand ends in order, and says what it cannot
// read.
#include <sys/stat.h>

#include <functional>

#include "orvhost/journal/journal_folder.h"
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

constexpr const char* kHostile = "00000002-20261121T120000Z";

// Somebody's journal, written to a path, and how who looks at it ends: 0 tells what is left, 7 cannot read it.
struct HostileJournal {
  std::string what;
  int lookingBack;
  std::function<void(const std::string& path)> make;
};

std::string Begin(const std::string& command = R"("update")", const std::string& options = R"({"dry_run":false})") {
  return R"({"t":"x","s":0,"kind":"begin","schema":2,"command":)" + command + R"(,"options":)" + options + "}\n";
}

std::string Line(const std::string& kindAndFields) {
  return R"({"t":"x","s":1,"kind":)" + kindAndFields + "}\n";
}

std::string Nested(std::size_t depth) {
  return std::string(depth, '[') + std::string(depth, ']');
}

HostileJournal Holding(const std::string& what, const std::string& content) {
  return {what, 0, [content](const std::string& path) { std::ofstream(path, std::ios::binary) << content; }};
}

HostileJournal LinkTo(const std::string& target) {
  return {"a link to " + target, 7, [target](const std::string& path) { fs::create_symlink(target, path); }};
}

// What is no journal, or one whose first line is not as a run writes it.
std::vector<HostileJournal> Files() {
  std::vector<HostileJournal> rows = {
      {"a pipe", 7, [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
      {"a folder", 7, [](const std::string& path) { fs::create_directory(path); }},
      {"a huge file", 7,
       [](const std::string& path) {
         std::ofstream(path) << Begin();
         fs::resize_file(path, 1UL << 40);
       }},
      LinkTo("/dev/zero"),
      LinkTo("/dev/tty"),
      LinkTo("."),
      LinkTo(std::string(kHostile) + ".jsonl"),
      Holding("nothing", ""),
      Holding("an endless line", std::string(5UL * 1024 * 1024, 'x')),
      Holding("a deep line", Begin() + Line(R"("end","outcome":{"verdict":"a","exit_code":)" + Nested(200000) + "}")),
      Holding("a deep first line", Begin(R"("update")", R"({"dry_run":)" + Nested(200000) + "}")),
      Holding("zeros", std::string(100000, '\0')),
      Holding("bytes", Begin() + Line("\"\xff\xfe\",\"text\":\"\xc0\"")),
  };
  for (const std::string wrong : {"3", "null", "[[1]]"}) {
    rows.push_back(Holding("a command of " + wrong, Begin(wrong)));
    rows.push_back(Holding("options of " + wrong, Begin(R"("update")", wrong)));
    rows.push_back(Holding("a dry run of " + wrong, Begin(R"("update")", R"({"dry_run":)" + wrong + "}")));
  }
  return rows;
}

// Journals whose lines have members of another type.
std::vector<HostileJournal> Types() {
  std::vector<HostileJournal> rows;
  for (const std::string wrong : {"3", "-1", "1e999", "1.5", "null", "true", "[[1]]", "{}", "18446744073709551615"}) {
    std::string lines = Begin();
    for (const std::string member :
         {R"("phase","name")", R"("package","path")", R"("command","line")", R"("command","n")",
          R"("command_end","result")", R"("command_end","n")", R"("trace","level")", R"("trace","text")",
          R"("record","id")", R"("notice","text")", R"("error_output","text")", R"("error_output","cut")",
          R"("end","outcome")"}) {
      lines += Line(std::string(member).append(":").append(wrong));
    }
    for (const std::string member : {"verdict", "exit_code", "error", "before", "after", "phase", "flash_touched"}) {
      lines += Line(std::string(R"("end","outcome":{"verdict":"a","exit_code":0,")")
                        .append(member)
                        .append("\":")
                        .append(wrong)
                        .append("}"));
    }
    lines += R"({"t":"x","kind":"phase","name":"a","s":)" + wrong + "}\n";
    rows.push_back(Holding("members of " + wrong, lines));
  }
  return rows;
}

class HostileJournals : public Orvhost {
 protected:
  HostileJournals() {
    prefix_ = "timeout 20 ";
    wroteItsJournals_ = false;
  }

  // The journal of an update, the hostile one, and so many behind them that the next run drops some.
  void Arrange(const HostileJournal& row) const {
    const std::string journals = folder_ / "journal";
    fs::remove_all(journals);
    fs::create_directory(journals);
    std::ofstream(JournalPath(journals, "00000001-20261121T110000Z"))
        << Begin() << Line(R"("phase","name":"record")")
        << Line(R"("end","outcome":{"verdict":"updated","exit_code":0})");
    row.make(JournalPath(journals, kHostile));
    for (std::size_t number = 11; number < 11 + kKeptRuns; ++number) {
      std::ofstream(JournalPath(journals, "000000" + std::to_string(number) + "-20261121T130000Z"))
          << Begin(R"("identify")") << Line(R"("end","outcome":{"verdict":"identified","exit_code":0})");
    }
  }

  json RunWith(const HostileJournal& row, const std::string& arguments) {
    SCOPED_TRACE(row.what + ": " + arguments);
    Arrange(row);
    return RunJson(arguments);
  }
};

TEST_F(HostileJournals, SteerNoTerminal) {
  const std::string hostile = R"(x\r\n\u001b[2m\u009b1A\u202eFirmware 01-24 is verified.)";
  const std::string quoted = "\"" + hostile + "\"";
  fs::create_directory(folder_ / "journal");
  folder_.Write(std::string("journal/") + kHostile + ".jsonl",
                Begin(R"("update")", R"({"dry_run":false,"package":)" + quoted + "}") +
                    Line(R"("phase","name":)" + quoted) + Line(R"("trace","level":1,"text":)" + quoted) +
                    Line(R"("record","id":)" + quoted + R"(,"detail":)" + quoted) +
                    Line(R"("command","n":1,"line":)" + quoted) + Line(R"("error_output","n":1,"text":)" + quoted) +
                    Line(R"("notice","text":)" + quoted) + Line(R"("phase","name":"write")") +
                    Line(R"("end","outcome":{"command":"update","verdict":)" + quoted + R"(,"before":)" + quoted +
                         R"(,"after":)" + quoted + R"(,"summary":)" + quoted + R"(,"exit_code":0})"));
  for (const char* arguments : {"history", "show last", "diagnose last"}) {
    EXPECT_EQ(Run(arguments), 0) << err_;
    const std::string printed = out_ + err_;
    EXPECT_NE(printed.find("\\x1b"), std::string::npos) << "it is there, escaped: " << printed;
    EXPECT_TRUE(std::ranges::none_of(printed, [](unsigned char c) { return (c < ' ' && c != '\n') || c == 0x7f; }))
        << printed;
    for (const char* steers : {"\u009b", "\u202e", "\nFirmware", "\n\x1b"}) {
      EXPECT_EQ(printed.find(steers), std::string::npos) << arguments << printed;
    }
    (void)RunJson(arguments);
    EXPECT_TRUE(std::ranges::all_of(out_, [](unsigned char c) { return c < 0x7f; })) << out_;
  }
}

TEST_F(HostileJournals, AreReadToTheirEndOrRefused) {
  std::vector<HostileJournal> rows = Files();
  std::ranges::copy(Types(), std::back_inserter(rows));
  for (const HostileJournal& row : rows) {
    const json history = RunWith(row, "history");
    EXPECT_EQ(history["exit_code"], row.lookingBack) << row.what;
    ASSERT_EQ(history["runs"].size(), kKeptRuns + 2) << row.what;
    EXPECT_EQ(history["runs"][0]["verdict"], "updated") << row.what;
    EXPECT_EQ(history["runs"][1]["verdict"] == "unreadable", row.lookingBack == 7) << row.what;
    for (const char* looker : {"show 2", "diagnose", "diagnose 2"}) {
      const json object = RunWith(row, looker);
      EXPECT_EQ(object["exit_code"], row.lookingBack) << row.what << ": " << looker;
      EXPECT_EQ(object["verdict"] == "journal-unreadable", row.lookingBack == 7) << row.what << ": " << looker;
    }
  }
}

TEST_F(HostileJournals, DoNotKeepOthersFromTheirWork) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const std::map<std::string, int> exitCodes = {{"identify", 0}, {"apply --dry-run", 0}, {"verify", 9}};
  for (const HostileJournal& row : Files()) {
    for (const auto& [arguments, exitCode] : exitCodes) {
      const json object = RunWith(row, arguments);
      EXPECT_EQ(object["exit_code"], exitCode) << row.what << ": " << arguments << object;
      EXPECT_EQ(object["notices"], json::array()) << row.what << ": " << arguments;
      EXPECT_EQ(object["run_id"].get<std::string>().substr(0, 9), "00000061-") << row.what << ": " << arguments;
    }
  }
}

TEST_F(HostileJournals, OfOtherTypesAreToldToBeDamaged) {
  const json object =
      RunWith(Holding("types", Begin() + Line(R"("end","outcome":{"verdict":3,"exit_code":[1]})")), "history");
  EXPECT_EQ(object["notices"], json::array({"1 damaged line of run " + std::string(kHostile) + " was skipped."}));
  EXPECT_EQ(object["runs"][1]["verdict"], "cut off in step ");
}

TEST_F(HostileJournals, AJournalOfFortyThousandCommandsIsToldAtOnce) {
  std::string lines = Begin();
  for (int number = 1; number <= 40000; ++number) {
    const std::string n = std::to_string(number);
    lines += Line(R"("command","line":"ipmitool raw 0x06 0x01","n":)" + n);
    lines += Line(R"("command_end","result":"exited","exit_code":0,"n":)" + n);
  }
  const json object = RunWith(Holding("many commands", lines), "show 2");
  ASSERT_EQ(object["timeline"].size(), 40001U);
  EXPECT_EQ(object["timeline"][39999]["text"], "  runs ipmitool raw 0x06 0x01: ended with 0 after 0.000 s");
}

TEST_F(HostileJournals, WithoutTheNameOfARunAreSkippedAndSaid) {
  const HostileJournal none = Holding("a journal", Begin());
  for (const std::string name :
       {"99999999-20260131T120000Z", "90000000-20260131T120000Z", "00000099-x", "00000099-20260131T120000Z.old", "x"}) {
    const auto arrange = [&] {
      Arrange(none);
      std::ofstream(folder_ / ("journal/" + name + ".jsonl")) << Begin() << Line(R"("phase","name":"write")");
    };
    const std::string sentence =
        name + ".jsonl in " + (folder_ / "journal") + " has not the name of a run's journal and was skipped.";
    for (const char* looker : {"history", "show 1", "diagnose 1", "diagnose"}) {
      arrange();
      const json object = RunJson(looker);
      EXPECT_EQ(object["exit_code"], 0) << looker;
      EXPECT_EQ(object["notices"].at(0), sentence) << looker;
    }
    arrange();
    EXPECT_EQ(RunJson("identify")["run_id"].get<std::string>().substr(0, 9), "00000061-") << name;
    EXPECT_EQ(RunJson("history")["runs"].back()["command"], "identify") << name;
  }
}

}  // namespace
}  // namespace orvhost
