// A recorded run in the words of people. Pure.
#ifndef ORVHOST_JOURNAL_STORY_H
#define ORVHOST_JOURNAL_STORY_H

#include <string>
#include <vector>

#include "orvhost/journal/recorded_run.h"

namespace orvhost {

struct StoryLine {
  std::string seconds;  // since the start, right-aligned
  std::string kind;     // as of the journal's line
  std::string text;
  const JournalEntry* entry = nullptr;  // of the run; null for the line that its end is missing
  bool isTurningPoint = false;          // the flash or the shutdown begins
};

// What came of the signature of a package, by its entry; "" for one of a version that looked for none.
[[nodiscard]] std::string SignatureInWords(const JournalEntry& package);

// What a phase does, e.g. "writes the firmware".
[[nodiscard]] std::string PhaseInWords(const std::string& phase);

// What happened, in order, without the lines that only a developer needs.
[[nodiscard]] std::vector<StoryLine> TellStory(const RecordedRun& run);

// Sentences about lines of the journal that could not be read.
[[nodiscard]] std::vector<std::string> Damage(const RecordedRun& run);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_STORY_H
