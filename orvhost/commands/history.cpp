// orvhost history: the runs that left a journal, one line each. Reads the host's own files only.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "orvhost/commands/commands.h"
#include "orvhost/commands/look_back.h"
#include "orvhost/interface/printable.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/recorded_run.h"
#include "orvhost/journal/story.h"
#include "orvhost/journal/unreadable.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/run_lock.h"

namespace orvhost {

namespace {

using Row = std::array<std::string, 7>;

std::string Seconds(double seconds) {
  std::array<char, 32> text{};
  snprintf(text.data(), text.size(), "%.1f", seconds);
  return text.data();
}

// The package's version and the one that ran before, as far as the run came to know them.
std::string Versions(const RecordedRun& run) {
  const std::string before = run.OutcomeText("before");
  const std::string after = run.OutcomeText("after");
  return before == after || after.empty() ? before : before + " -> " + after;
}

std::string FileName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

// What a run says of its end; of one without an end, what is known.
std::string VerdictOf(const RecordedRun& run, const RunningRun& running) {
  if (run.error != 0) {
    return "unreadable";
  }
  if (run.Outcome() != nullptr) {
    return run.OutcomeText("verdict");
  }
  if (run.id == running.runId) {
    return "at work";
  }
  if (run.entries.empty()) {
    return "damaged";
  }
  return (running.unseen.empty() ? "" : "at work or ") + ("cut off in step " + run.LastPhase());
}

Row RowOf(const RecordedRun& run, const RunningRun& running) {
  const nlohmann::json* outcome = run.Outcome();
  const nlohmann::json exitCode = outcome != nullptr ? outcome->value("exit_code", nlohmann::json()) : nlohmann::json();
  const std::string command = run.Begin("command");
  const std::string package = command == "update" || command == "check" ? FileName(run.Option("package")) : "";
  return {run.id,
          Seconds(run.Seconds()),
          command,
          package + (package.empty() || Versions(run).empty() ? "" : " ") + Versions(run),
          VerdictOf(run, running),
          exitCode.is_number_unsigned() ? exitCode.dump() : "",
          run.Begin("t")};
}

// Columns as wide as their widest text, two blanks apart.
std::vector<std::string> Table(const std::vector<Row>& rows) {
  constexpr std::size_t kColumns = 6;  // the id tells the time already
  constexpr std::size_t kWidest = 80;
  std::array<std::size_t, kColumns> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < kColumns; ++i) {
      widths[i] = std::max(widths[i], CharactersIn(Printable(row[i], kWidest)));
    }
  }
  std::vector<std::string> lines;
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < kColumns; ++i) {
      const std::string cell = Printable(row[i], kWidest);
      line += cell + std::string(widths[i] + 2 - CharactersIn(cell), ' ');
    }
    lines.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
  }
  return lines;
}

// Gathers the runs and how the subcommand ends.
class HistoryRoad {
 public:
  explicit HistoryRoad(const Run& run)
      : run_(run),
        folder_(JournalFolder(run.options.installPath)),
        journals_(ListJournals(folder_)),
        running_(RunAtWork(run.options.installPath)) {}

  Outcome Go();

 private:
  void Add(const RecordedRun& recorded);
  void Conclude();

  const Run& run_;
  const std::string folder_;
  const JournalList journals_;
  const RunningRun running_;
  std::vector<Row> rows_ = {{"RUN", "SECONDS", "COMMAND", "PACKAGE, VERSION", "VERDICT", "EXIT", ""}};
  std::vector<std::string> unreadable_;  // why, one sentence each, without a full stop
  Outcome outcome_;
};

Outcome HistoryRoad::Go() {
  outcome_.phase = "history";
  outcome_.listing.name = "runs";
  if (journals_.error != 0) {
    unreadable_.push_back("The journals in " + WhyUnreadable(folder_, journals_.error));
  }
  if (!running_.unseen.empty()) {
    unreadable_.push_back("Whether a run is at work cannot be seen: " + running_.unseen);
  }
  Note(run_, &outcome_, AboutMisnamed(journals_, folder_));
  for (const std::string& id : journals_.runs) {
    const RecordedRun recorded = ReadRun(folder_, id);
    if (recorded.error != ENOENT) {  // dropped meanwhile
      Add(recorded);
    }
  }
  Conclude();
  return outcome_;
}

void HistoryRoad::Add(const RecordedRun& recorded) {
  const Row row = RowOf(recorded, running_);
  rows_.push_back(row);
  outcome_.listing.entries.push_back({{"run_id", row[0]},
                                      {"started", row[6]},
                                      {"seconds", row[1]},
                                      {"command", row[2]},
                                      {"package", recorded.Option("package")},
                                      {"before", recorded.OutcomeText("before")},
                                      {"after", recorded.OutcomeText("after")},
                                      {"verdict", row[4]},
                                      {"exit_code", row[5]}});
  if (recorded.error != 0) {
    unreadable_.push_back("The journal " + WhyUnreadable(JournalPath(folder_, recorded.id), recorded.error));
    return;
  }
  for (const std::string& sentence : Damage(recorded)) {
    Note(run_, &outcome_, sentence);
  }
}

void HistoryRoad::Conclude() {
  const bool hasRuns = rows_.size() > 1;
  outcome_.verdict = hasRuns ? "listed" : "no-runs";
  if (!unreadable_.empty()) {
    if (hasRuns) {
      run_.console.Show(Table(rows_));
    }
    const std::size_t others = unreadable_.size() - 1;
    Fail(run_, &outcome_,
         JournalUnreadable(unreadable_.front() + "." +
                           (others == 0 ? "" : " So it is with " + std::to_string(others) + " more.")));
    return;
  }
  if (hasRuns) {
    outcome_.lines = Table(rows_);
  } else {
    outcome_.summary = "No run has left a journal in " + folder_ + ".";
  }
}

constexpr const char* kHistoryHelp = R"(Lists the runs of which a journal is kept, oldest first: the run's id, with the
UTC time of its start; how many seconds it took; the subcommand; its package and
the versions before and after; the verdict and the exit code. A run that was
killed or lost its machine is "cut off", with the step that it was in.

Kept are the newest 50 runs, and of the older ones the newest 10 that could have
changed the device. Asks neither the BMC nor the plug-in, and may run beside
another run.

A journal that is damaged is listed as far as it can be read. One that this user
cannot read is listed as "unreadable", and the exit code is 7; so it is when
this user cannot see whether a run is at work.

Examples:
  orvhost history
  orvhost history --json | jq -r '.runs[-1].run_id'

Exit codes: 0 listed, also when there are none; 7 a journal or the lock cannot
be read.)";

}  // namespace

const Command kHistoryCommand = {"history", "List the runs that were made, one line each",        kHistoryHelp,
                                 {},        [](const Run& run) { return HistoryRoad(run).Go(); }, false};

}  // namespace orvhost
