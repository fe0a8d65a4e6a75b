// The page of a run, and the time line that it draws. How a browser takes it is page_test.py's.
#include "orvhost/journal/page.h"

#include <gtest/gtest.h>

#include "orvhost/journal/time_line.h"

namespace orvhost {

namespace {

using nlohmann::json;

class RunBuilder {
 public:
  RunBuilder& Add(double seconds, const char* kind, const json& fields) {
    json line = fields;
    line["t"] = "2026-01-31T12:00:00Z";
    run.entries.push_back({seconds, kind, line});
    return *this;
  }
  RunBuilder& Command(int number, const char* line, double from, double to, int exitCode) {
    Add(from, "command", {{"n", number}, {"line", line}});
    return Add(to, "command_end", {{"n", number}, {"result", "exited"}, {"exit_code", exitCode}});
  }
  RecordedRun run{.id = "00000007-20260131T120000Z", .entries = {}};
};

RecordedRun AnUpdate() {
  RunBuilder builder;
  builder.Add(0, "begin", {{"command", "update"}, {"options", json::object()}, {"server_type", "kv6000"}})
      .Add(0.5, "phase", {{"name", "compare"}})
      .Command(1, "ipmitool raw 0x06 0x01", 0.6, 1.6, 0)
      .Add(1.6, "response", {{"n", 1}, {"text", " 20 01 23\n 02\n"}, {"cut", false}})
      .Add(2, "phase", {{"name", "write"}})
      .Command(2, "false", 2, 2.5, 1)
      .Add(12, "trace", {{"level", 1}, {"text", R"(Execute:"/opt/orv/KV6KBMC/Yafuflash" -cd)"}})
      .Command(3, "flash", 12.5, 20, 0)
      .Add(20, "end",
           {{"outcome",
             {{"verdict", "update-failed"},
              {"exit_code", 8},
              {"before", "01-23"},
              {"after", "01-24"},
              {"error",
               {{"cause", "It failed."}, {"next_step", "Do this."}, {"evidence", {{"records", {"MSGID one"}}}}}}}}});
  return builder.run;
}

bool Has(const std::string& page, const std::string& part) {
  return page.find(part) != std::string::npos;
}

TEST(TimeLine, StepsCommandsAndPausesOfAnUpdate) {
  const TimeLine line = TimeLineOf(AnUpdate());
  EXPECT_EQ(line.seconds, 20);
  ASSERT_EQ(line.steps.size(), 2U);
  const TimedStep& compare = line.steps[0];
  EXPECT_EQ(compare.name, "compare");
  EXPECT_EQ(compare.span.from, 0.5);
  EXPECT_EQ(compare.span.to, 2);
  ASSERT_EQ(compare.commands.size(), 1U);
  EXPECT_FALSE(compare.commands[0].failed);
  EXPECT_DOUBLE_EQ(compare.commands[0].span.Length(), 1.0);
  ASSERT_EQ(compare.pauses.size(), 1U);  // the tenth of a second before the command is none
  EXPECT_EQ(compare.pauses[0].from, 1.6);
  const TimedStep& write = line.steps[1];
  ASSERT_EQ(write.commands.size(), 2U);
  EXPECT_TRUE(write.commands[0].failed);
  ASSERT_EQ(write.pauses.size(), 1U);
  EXPECT_EQ(write.pauses[0].from, 2.5);
  EXPECT_EQ(write.pauses[0].to, 12.5);
}

TEST(TimeLine, ACommandWithoutEndLastsUntilTheJournalStopsAndCountsAsFailed) {
  RunBuilder builder;
  builder.Add(0, "phase", {{"name", "write"}})
      .Add(1, "command", {{"n", 1}, {"line", "flash"}})
      .Add(5, "notice", {{"text", "x"}});
  const TimeLine line = TimeLineOf(builder.run);
  ASSERT_EQ(line.steps.size(), 1U);
  ASSERT_EQ(line.steps[0].commands.size(), 1U);
  EXPECT_EQ(line.steps[0].commands[0].span.to, 5);
  EXPECT_TRUE(line.steps[0].commands[0].failed);
}

TEST(TimeLine, WhatRunsBeforeTheFirstStepHasARowOfItsOwn) {
  RunBuilder builder;
  builder.Command(1, "early", 0, 1, 0).Add(1, "phase", {{"name", "fit"}});
  const TimeLine line = TimeLineOf(builder.run);
  ASSERT_EQ(line.steps.size(), 2U);
  EXPECT_EQ(line.steps[0].name, "");
  EXPECT_EQ(line.steps[0].commands.size(), 1U);
}

TEST(TimeLine, TicksAreRoundAndFew) {
  EXPECT_EQ(TicksFor(0), (std::vector<double>{0}));
  EXPECT_EQ(TicksFor(20), (std::vector<double>{0, 5, 10, 15, 20}));
  EXPECT_EQ(TicksFor(12.8), (std::vector<double>{0, 5, 10}));
  for (const double seconds : {0.003, 0.9, 1.0, 7.0, 60.0, 840.0, 1e9}) {
    const auto ticks = TicksFor(seconds);
    EXPECT_GE(ticks.size(), 2U) << seconds;
    EXPECT_LE(ticks.size(), 6U) << seconds;
    EXPECT_LE(ticks.back(), seconds);
  }
}

TEST(TimeLine, DurationsInWords) {
  EXPECT_EQ(DurationInWords(0.0124), "0.012\u00a0s");
  EXPECT_EQ(DurationInWords(12.34), "12.3\u00a0s");
  EXPECT_EQ(DurationInWords(125.4), "2\u00a0min 05\u00a0s");
  EXPECT_EQ(DurationInWords(179.7), "3\u00a0min 00\u00a0s");
}

TEST(Page, ShowsVersionsFailureAnswersAndWhatToDo) {
  const std::string page = ToPage(AnUpdate(), "/a/journal");
  for (const char* part :
       {"<h1>orvhost update, run 00000007-20260131T120000Z</h1>", "Firmware <b>01-23</b> &rarr; <b>01-24</b>",
        "&#10007; update-failed, exit code 8", "<p>It failed.</p>", "<dt>Record</dt><dd>MSGID one</dd>",
        "<b>What to do:</b> Do this.",
        ("<b>write</b> <span class=\"soft\">writes the firmware; 18.0\u00a0s, 2 shell commands, "
         "1 failed, pauses of 10.0\u00a0s</span>"),
        "<i class=\"command failed\" style=\"left:10.000%;width:2.500%\" title=\"false, 0.500\u00a0s\">",
        "<i class=\"pause\" style=\"left:12.500%;width:50.000%\"",
        "<i class=\"flash\" style=\"left:60.000%;width:0.000%\"",
        "<span class=\"answer\">&larr;  20 01 23</span><span class=\"answer\">&larr;  02</span>",
        "from /a/journal, which has more"}) {
    EXPECT_TRUE(Has(page, part)) << part << "\n" << page.substr(page.find("<body>"));
  }
}

TEST(Page, OfARunWithoutEndSaysWhatToDo) {
  RecordedRun run = AnUpdate();
  run.entries.pop_back();
  run.damagedLines = 2;
  const std::string page = ToPage(run, "j");
  EXPECT_TRUE(Has(page, "The journal stops in step \"write\": the run was cut off, or is at work.")) << page;
  EXPECT_TRUE(Has(page, "<code>orvhost diagnose 00000007-20260131T120000Z</code>"));
  EXPECT_TRUE(Has(page, "2 damaged lines of run"));
}

TEST(Page, NothingFromTheJournalIsMarkup) {
  const std::string bad = "<script>alert(1)</script>\"'&\x1b[31m";
  RunBuilder builder;
  builder.run.id = bad;
  builder.Add(0, "begin", {{"command", bad}, {"options", json::object()}, {"server_type", bad}, {"install_path", bad}})
      .Add(0, "package", {{"path", bad}, {"sha256", bad}})
      .Add(0, "phase", {{"name", bad}})
      .Command(1, bad.c_str(), 0, 1, 1)
      .Add(1, "response", {{"n", 1}, {"text", bad}})
      .Add(1, "error_output", {{"n", 1}, {"text", bad}})
      .Add(1, "trace", {{"level", 2}, {"text", bad}})
      .Add(1, "record", {{"id", bad}, {"detail", bad}, {"text", bad}})
      .Add(1, "notice", {{"text", bad}})
      .Add(2, "end",
           {{"outcome",
             {{"verdict", bad},
              {"exit_code", 7},
              {"before", bad},
              {"after", "x" + bad},
              {"error",
               {{"cause", bad},
                {"next_step", bad},
                {"evidence", {{"command", bad}, {"completion_code", bad}, {"records", {bad}}, {"trace", {bad}}}}}}}}});
  const std::string page = ToPage(builder.run, bad);
  EXPECT_FALSE(Has(page, "<script"));
  EXPECT_FALSE(Has(page, "\x1b"));
  std::size_t count = 0;
  for (std::size_t at = 0;
       (at = page.find("&lt;script&gt;alert(1)&lt;/script&gt;&quot;&#39;&amp;\\x1b[31m", at)) != std::string::npos;
       ++at) {
    ++count;
  }
  EXPECT_GE(count, 20U) << page;
}

TEST(Page, OfAnEmptyOrHugeJournalIsBounded) {
  EXPECT_TRUE(Has(ToPage({.id = "x", .entries = {}}, "j"), "</html>"));
  RunBuilder builder;
  for (int i = 0; i < 5000; ++i) {
    builder.Add(i, "notice", {{"text", "line " + std::to_string(i)}});
  }
  const std::string page = ToPage(builder.run, "j");
  EXPECT_TRUE(Has(page, "2001 earlier lines are left out."));
  EXPECT_FALSE(Has(page, "line 2000<"));
  EXPECT_TRUE(Has(page, "line 2001<"));
  EXPECT_TRUE(Has(page, "line 4999<"));
}

}  // namespace
}  // namespace orvhost
