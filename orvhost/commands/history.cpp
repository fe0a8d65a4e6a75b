// orvhost history: the runs that left a journal, one line each. Reads the host's own files only.
#include <algorithm>
#include <array>
#include <cstdio>

#include "orvhost/commands/commands.h"
#include "orvhost/interface/printable.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/recorded_run.h"
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

Row RowOf(const RecordedRun& run, bool isAtWork) {
  const nlohmann::json* outcome = run.Outcome();
  const std::string exitCode =
      outcome != nullptr && outcome->contains("exit_code") ? (*outcome)["exit_code"].dump() : "";
  const std::string cutOff = isAtWork ? "at work" : "cut off in phase " + run.LastPhase();
  const std::string command = run.Begin("command");
  const std::string package = command == "update" || command == "check" ? FileName(run.Option("package")) : "";
  return {run.id,
          Seconds(run.Seconds()),
          command,
          package + (package.empty() || Versions(run).empty() ? "" : " ") + Versions(run),
          outcome != nullptr ? run.OutcomeText("verdict") : cutOff,
          exitCode,
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

Outcome History(const Run& run) {
  Outcome outcome;
  outcome.phase = "history";
  const std::string folder = JournalFolder(run.options.installPath);
  const std::string atWork = RunAtWork(run.options.installPath);
  std::vector<Row> rows = {{"RUN", "SECONDS", "COMMAND", "PACKAGE, VERSION", "VERDICT", "EXIT", ""}};
  outcome.listing.name = "runs";
  for (const std::string& id : ListRuns(folder)) {
    const RecordedRun recorded = ReadRun(folder, id);
    const Row row = RowOf(recorded, id == atWork);
    rows.push_back(row);
    outcome.listing.entries.push_back({{"run_id", row[0]},
                                       {"started", row[6]},
                                       {"seconds", row[1]},
                                       {"command", row[2]},
                                       {"package", recorded.Option("package")},
                                       {"before", recorded.OutcomeText("before")},
                                       {"after", recorded.OutcomeText("after")},
                                       {"verdict", row[4]},
                                       {"exit_code", row[5]}});
    if (recorded.damagedLines > 0) {
      outcome.notices.push_back(std::to_string(recorded.damagedLines) + " damaged lines of run " + id +
                                " were skipped.");
    }
  }
  outcome.verdict = rows.size() > 1 ? "listed" : "no-runs";
  if (rows.size() > 1) {
    outcome.lines = Table(rows);
  } else {
    outcome.summary = "No run has left a journal in " + folder + ".";
  }
  for (const std::string& notice : outcome.notices) {
    run.console.Notice(notice);
  }
  return outcome;
}

constexpr const char* kHistoryHelp = R"(Lists the runs of which a journal is kept, oldest first: the run's id, with the
UTC time of its start; how many seconds it took; the subcommand; its package and
the versions before and after; the verdict and the exit code. A run that was
killed or lost its machine is "cut off", with the step that it was in.

Kept are the newest 50 runs, and of the older ones the newest 10 that could have
changed the device. Asks neither the BMC nor the plug-in, and may run beside
another run.

Examples:
  orvhost history
  orvhost history --json | jq -r '.runs[-1].run_id'

Exit codes: 0 listed, also when there are none.)";

}  // namespace

const Command kHistoryCommand = {"history", "List the runs that were made, one line each", kHistoryHelp, {}, History,
                                 false};

}  // namespace orvhost
