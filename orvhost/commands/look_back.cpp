#include "orvhost/commands/look_back.h"

#include "orvhost/journal/unreadable.h"
#include "orvhost/run/failure.h"

namespace orvhost {

FailedEnd JournalUnreadable(const std::string& cause) {
  return {.exitCode = ExitCode::kFailedUntouched,
          .verdict = "journal-unreadable",
          .cause = cause,
          .nextStep =
              "Keep the machine powered, since what the journal tells is not known, and run the same command "
              "again as a user who can read it. What is no journal may be moved away."};
}

std::optional<RecordedRun> ReadRunNamed(const Run& run, const JournalList& journals, const std::string& name,
                                        Outcome* outcome) {
  const std::string folder = JournalFolder(run.options.installPath);
  if (journals.error != 0) {
    Fail(run, outcome, JournalUnreadable("The journals in " + WhyUnreadable(folder, journals.error) + "."));
    return {};
  }
  Note(run, outcome, AboutMisnamed(journals, folder));
  std::string error;
  const auto id = FindRun(journals.runs, name, &error);
  if (!id) {
    Fail(run, outcome,
         {.exitCode = ExitCode::kUsage,
          .verdict = "no-such-run",
          .cause = error,
          .nextStep = "Run \"orvhost history\" to see which runs there are."});
    return {};
  }
  RecordedRun recorded = ReadRun(folder, *id);
  if (recorded.error != 0) {
    Fail(run, outcome,
         JournalUnreadable("The journal " + WhyUnreadable(JournalPath(folder, *id), recorded.error) + "."));
    return {};
  }
  return recorded;
}

}  // namespace orvhost
