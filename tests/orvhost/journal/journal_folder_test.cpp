#include "orvhost/journal/journal_folder.h"

#include <gtest/gtest.h>

#include "tests/refhost/support/temporary_folder.h"

namespace orvhost {

namespace {

using Ids = std::vector<std::string>;

class JournalFolderOf : public testing::Test {
 protected:
  std::string Add(const std::string& command, bool dryRun = false) {
    std::string id = NextRunId(ListJournals(folder_.Path()).runs, "2026-01-31T12:00:00.000000Z");
    folder_.Write(id + ".jsonl", R"({"kind": "begin", "command": ")" + command + R"(", "options": {"dry_run": )" +
                                     (dryRun ? "true" : "false") + "}}\n{\"kind\": \"end\"}\n");
    return id;
  }

  refhost::TemporaryFolder folder_;
};

TEST(RunId, IsTheNextNumberAndTheTime) {
  EXPECT_EQ(NextRunId({}, "2026-01-31T12:00:01.500000Z"), "00000001-20260131T120001Z");
  EXPECT_EQ(NextRunId({"00000009-20990101T000000Z"}, "2026-01-31T12:00:01.500000Z"), "00000010-20260131T120001Z");
}

TEST_F(JournalFolderOf, NoRunsIsEmptyWhetherItIsThereOrNot) {
  EXPECT_EQ(ListJournals(folder_.Path()).runs, Ids{});
  EXPECT_EQ(ListJournals(folder_ / "missing").runs, Ids{});
}

TEST_F(JournalFolderOf, SomeRunsListsThemByNumberAndNothingElse) {
  const std::string first = Add("identify");
  const std::string second = Add("update");
  for (const char* other : {"notes.txt", "0000001-x.jsonl", "0000000a-x.jsonl", ".jsonl", "00000003.jsonl"}) {
    folder_.Write(other, "");
  }
  EXPECT_EQ(ListJournals(folder_.Path()).runs, (Ids{first, second}));
}

TEST_F(JournalFolderOf, ManyQuestionsKeepsTheLastUpdates) {
  Add("identify");
  Ids updates;
  for (std::size_t i = 0; i < kKeptChangingRuns + 2; ++i) {
    updates.push_back(Add("update"));
  }
  Add("update", true);
  folder_.Write("00000099-20260131T120000Z.jsonl", "garbage");
  for (std::size_t i = 0; i < kKeptRuns; ++i) {
    Add("identify");
  }
  EXPECT_TRUE(DropOldRuns(folder_.Path()));
  Ids kept = ListJournals(folder_.Path()).runs;
  ASSERT_EQ(kept.size(), kKeptChangingRuns + kKeptRuns - 1);
  kept.resize(kKeptChangingRuns);
  EXPECT_EQ(kept, Ids(updates.begin() + 2, updates.end()));
}

TEST_F(JournalFolderOf, AsManyRunsAsAreKeptDropsOneForTheNext) {
  const std::string oldest = Add("identify");
  for (std::size_t i = 1; i < kKeptRuns; ++i) {
    Add("identify");
  }
  EXPECT_TRUE(DropOldRuns(folder_.Path()));
  const Ids kept = ListJournals(folder_.Path()).runs;
  EXPECT_EQ(kept.size(), kKeptRuns - 1);
  EXPECT_NE(kept.front(), oldest);
}

TEST_F(JournalFolderOf, FewRunsDropsNone) {
  for (std::size_t i = 1; i < kKeptRuns; ++i) {
    Add("identify");
  }
  EXPECT_TRUE(DropOldRuns(folder_.Path()));
  EXPECT_EQ(ListJournals(folder_.Path()).runs.size(), kKeptRuns - 1);
}

}  // namespace
}  // namespace orvhost
