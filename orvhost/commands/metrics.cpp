// orvhost metrics: how the machine stands, as metrics for Prometheus. Reads the host's own files only.
#include <array>
#include <cstdio>
#include <optional>

#include "orvhost/commands/commands.h"
#include "orvhost/commands/look_back.h"
#include "orvhost/commands/output_file.h"
#include "orvhost/interface/prometheus.h"
#include "orvhost/journal/standing.h"
#include "orvhost/run/run_lock.h"

namespace orvhost {

namespace {

constexpr const char* kNoEnd = "-1";

std::string TimeOf(std::optional<double> seconds) {
  if (!seconds) {
    return kUnknownValue;
  }
  std::array<char, 32> text{};
  snprintf(text.data(), text.size(), "%.3f", *seconds);
  return text.data();
}

class MetricsRoad {
 public:
  explicit MetricsRoad(const Run& run) : run_(run), folder_(JournalFolder(run.options.installPath)) {}

  Outcome Go();

 private:
  void Gather();
  void AddLastRun(const LastRun& last);
  void Add(const std::string& name, const std::string& help, const std::string& value,
           std::vector<std::pair<std::string, std::string>> labels = {}) {
    metrics_.push_back({"orvhost_" + name, help, std::move(labels), value});
  }
  bool Write();

  const Run& run_;
  const std::string folder_;
  std::vector<Metric> metrics_;
  std::vector<std::string> lines_;
  std::vector<std::string> unreadable_;
  std::string recordsError_;
  Outcome outcome_;
};

Outcome MetricsRoad::Go() {
  outcome_.phase = "metrics";
  Gather();
  outcome_.listing.name = "metrics";
  for (const Metric& metric : metrics_) {
    outcome_.listing.entries.push_back({{"name", metric.name}, {"labels", LabelsOf(metric)}, {"value", metric.value}});
    const auto lines = ToPrometheus(metric);
    lines_.insert(lines_.end(), lines.begin(), lines.end());
  }
  if (!Write()) {
    return outcome_;
  }
  if (!unreadable_.empty()) {
    Fail(run_, &outcome_, JournalUnreadable(unreadable_.front() + "."));
  } else if (!recordsError_.empty()) {
    Fail(run_, &outcome_,
         {.exitCode = ExitCode::kFailedUntouched,
          .verdict = "records-damaged",
          .cause = recordsError_ + ".",
          .nextStep = "Run \"orvhost diagnose\": it says what is known without the records."});
  }
  return outcome_;
}

// What is unknown because something cannot be read is stated as such, so the metrics are written all the same.
bool MetricsRoad::Write() {
  outcome_.verdict = "measured";
  const std::string& path = run_.options.metricsFile;
  const bool fails = !unreadable_.empty() || !recordsError_.empty();
  if (path.empty()) {
    if (fails) {
      run_.console.Show(lines_);
    } else {
      outcome_.lines = lines_;
    }
    return true;
  }
  std::string text;
  for (const std::string& line : lines_) {
    text += line + "\n";
  }
  if (!WriteOutputFile(run_, "--out", path, text, OutputFile::kMayBeReplaced, &outcome_)) {
    return false;
  }
  if (!fails) {
    outcome_.summary = "The metrics are written to " + path + ".";
  }
  return true;
}

void MetricsRoad::Gather() {
  refhost::ModuleState records;
  const bool hasRecords = refhost::ReadModuleState(refhost::ModuleStateFolder(), &records, &recordsError_);
  const RunningRun running = RunAtWork(run_.options.installPath);
  const Standing standing =
      ReadStanding(folder_, ListJournals(folder_), running.runId, hasRecords ? &records : nullptr);
  unreadable_ = standing.unreadable;

  Add("firmware_info", "Versions: running as the BMC said when it was last asked, installed and previous as recorded.",
      "1",
      {{"running", standing.running},
       {"installed", records.operating.info.moduleVersion},
       {"previous", records.previousVersion}});
  Add("running_version_timestamp_seconds", "Start of the run that last asked the BMC for the running version.",
      TimeOf(standing.runningAt));
  Add("update_pending", "1 when a written version waits for apply or verify.",
      ValueOf(hasRecords ? std::optional(refhost::IsWritten(records)) : std::nullopt));
  Add("flash_unfinished", "1 when writing the flash was begun and no run finished it; without a run at work.",
      ValueOf(standing.flashUnfinished));
  Add("run_at_work", "1 while a run that loads a plug-in is at work.",
      ValueOf(running.unseen.empty() ? std::optional(!running.runId.empty()) : std::nullopt));
  if (standing.last) {
    AddLastRun(*standing.last);
  }
  Add("journal_readable", "0 when a journal cannot be read, so that values may be unknown.",
      ValueOf(unreadable_.empty()));
  Add("records_readable", "0 when the state file cannot be read.", ValueOf(hasRecords));
}

void MetricsRoad::AddLastRun(const LastRun& last) {
  Add("last_run_info", "The last run that is not at work.", "1",
      {{"run", last.id}, {"command", last.command}, {"verdict", last.ending}});
  Add("last_run_exit_code", "Exit code of that run; -1 when it was cut off.",
      last.exitCode ? std::to_string(*last.exitCode) : kNoEnd);
  Add("last_run_timestamp_seconds", "When that run ended, or did what is known of it last.", TimeOf(last.lastAt));
}

constexpr const char* kMetricsHelp = R"(Prints metrics in Prometheus' text format, for the textfile collector of its
node exporter:

  orvhost_firmware_info              versions as labels: "running", "installed"
                                     and "previous"
  orvhost_running_version_timestamp_seconds
                                     when the BMC was last asked what it runs
  orvhost_update_pending             a written version waits for apply or verify
  orvhost_flash_unfinished           the flash was begun, and no run finished it
  orvhost_run_at_work                a run that loads a plug-in is at work
  orvhost_last_run_info              labels "run", "command" and "verdict"
  orvhost_last_run_exit_code         -1 for a run that was cut off
  orvhost_last_run_timestamp_seconds when it ended
  orvhost_journal_readable           0: values may be unknown, which is NaN
  orvhost_records_readable           0: the same

All of them come from the journals and the state file under the install path, so
nothing asks the BMC, and this may run beside another run. The running version
is the one that identify, check, update or verify last heard from the BMC.

With --out the file is replaced as a whole, so that a reader never finds half of
it. It is written also when something cannot be read; the exit code is then 7.

Examples:
  orvhost metrics
  orvhost metrics --out /var/lib/prometheus/node-exporter/orvhost.prom

Exit codes: 0 printed or written; 2 --out names a folder, or its folder is not
there; 7 a journal or the state file cannot be read, or FILE not be written.)";

}  // namespace

const Command kMetricsCommand = {
    "metrics",
    "Print how the machine stands as metrics for Prometheus",
    kMetricsHelp,
    {{"--out", &Options::metricsFile, "Write them to this file instead, as a whole", "FILE"}},
    [](const Run& run) { return MetricsRoad(run).Go(); }};

}  // namespace orvhost
