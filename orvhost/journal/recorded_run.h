// A run as its journal tells it, for those who look back. Reads files of the host only.
#ifndef ORVHOST_JOURNAL_RECORDED_RUN_H
#define ORVHOST_JOURNAL_RECORDED_RUN_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "orvhost/trace/trace_watch.h"

namespace orvhost {

struct JournalEntry {
  double seconds;  // since the start of the run
  std::string kind;
  nlohmann::json fields;  // the whole line

  // A field as text; "" when it is not there or no text.
  [[nodiscard]] std::string Text(const char* name) const;

  // What a shell command and its end have in common: its number, and the forked child that counts its own from there.
  // "" for an entry without one.
  [[nodiscard]] std::string CommandKey() const;
};

struct RecordedRun {
  std::string id;
  std::vector<JournalEntry> entries;  // without those that cannot be read
  int damagedLines = 0;               // skipped; a torn last line is not one of them
  bool lastLineIsTorn = false;        // the writing was cut off in it
  int error = 0;                      // errno when the file cannot be read, so that nothing is known of the run

  // Lines are lost that the run wrote.
  [[nodiscard]] bool IsDamaged() const;

  // The first line and what stands in it; "" when the journal lacks it.
  [[nodiscard]] std::string Begin(const char* name) const;
  [[nodiscard]] std::string Option(const char* name) const;
  [[nodiscard]] bool HasOption(const char* name) const;  // of one that is set or not
  [[nodiscard]] bool IsDryRun() const { return HasOption("dry_run"); }

  // The phase that was entered last; "" before the first.
  [[nodiscard]] std::string LastPhase() const;
  [[nodiscard]] bool Entered(const std::string& phase) const;

  // How it ended, as the program stated it; null for a run that was cut off or is at work.
  [[nodiscard]] const nlohmann::json* Outcome() const;

  // Of an outcome's text field; "" without an outcome.
  [[nodiscard]] std::string OutcomeText(const char* name) const;

  // Seconds up to the last line.
  [[nodiscard]] double Seconds() const;
};

// Reads the journal of a run. What is no regular file, or larger than kLargestJournal, cannot be read.
[[nodiscard]] RecordedRun ReadRun(const std::string& folder, const std::string& runId);

// The id that `name` stands for among `runs` (oldest first): "last", the number of one without its zeros, or the
// beginning of one only. Nothing, with a sentence in `*error`, when there is no such run or more than one.
[[nodiscard]] std::optional<std::string> FindRun(const std::vector<std::string>& runs, const std::string& name,
                                                 std::string* error);

// What the plug-in's trace said while that run went on.
void Replay(const RecordedRun& run, refhost::TraceSink* sink);

// The same, and which shell commands could not be started.
void Replay(const RecordedRun& run, TraceWatch* watch);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_RECORDED_RUN_H
