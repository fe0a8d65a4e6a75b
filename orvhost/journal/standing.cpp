#include "orvhost/journal/standing.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>

#include "orvhost/journal/remains.h"
#include "orvhost/journal/unreadable.h"

namespace orvhost {

namespace {

constexpr std::array kAskTheBmc{"identify", "check", "update", "verify"};

class Reader {
 public:
  explicit Reader(Standing* standing) : standing_(*standing) {}

  // From the newest run to the oldest.
  void Read(const std::string& folder, const std::string& id) {
    const RecordedRun run = ReadRun(folder, id);
    if (run.error == ENOENT) {
      return;  // dropped meanwhile
    }
    if (run.error != 0) {
      standing_.unreadable.push_back("The journal " + WhyUnreadable(JournalPath(folder, id), run.error));
    }
    if (!standing_.last) {
      standing_.last = LastRunOf(run);
    }
    if (standing_.running.empty()) {
      TakeRunning(run);
    }
    if (!flashIsSettled_) {
      SettleFlash(run);
    }
  }

  [[nodiscard]] bool HasAll() const { return flashIsSettled_ && !standing_.running.empty(); }
  [[nodiscard]] bool FlashIsSettled() const { return flashIsSettled_; }

 private:
  static LastRun LastRunOf(const RecordedRun& run) {
    LastRun last{.id = run.id, .command = CommandOf(run), .ending = "cut-off", .exitCode = {}, .lastAt = {}};
    if (run.error != 0) {
      last.ending = "unreadable";
    } else if (const nlohmann::json* outcome = run.Outcome(); outcome != nullptr) {
      last.ending = run.OutcomeText("verdict");
      last.exitCode = outcome->at("exit_code").get<int>();
    }
    if (!run.entries.empty()) {
      last.lastAt = SecondsOf(run.entries.back().Text("t"));
    }
    return last;
  }

  void TakeRunning(const RecordedRun& run) {
    if (std::ranges::find(kAskTheBmc, CommandOf(run)) != kAskTheBmc.end() && !run.OutcomeText("before").empty()) {
      standing_.running = run.OutcomeText("before");
      standing_.runningAt = SecondsOf(run.Begin("t"));
    }
  }

  void SettleFlash(const RecordedRun& run) {
    if (run.error != 0 || MayHaveReachedTheDevice(run)) {
      flashIsSettled_ = true;  // as unknown
    } else if (RemainsOfFlash(run).began) {
      flashIsSettled_ = true;
      standing_.flashUnfinished = !run.OutcomeText("verdict").starts_with("updated");
    }
  }

  Standing& standing_;
  bool flashIsSettled_ = false;
};

}  // namespace

Standing ReadStanding(const std::string& folder, const JournalList& journals, const std::string& atWork,
                      const refhost::ModuleState* records) {
  Standing standing;
  Reader reader(&standing);
  if (journals.error != 0) {
    standing.unreadable.push_back("The journals in " + WhyUnreadable(folder, journals.error));
    return standing;
  }
  for (auto id = journals.runs.rbegin(); id != journals.runs.rend() && !reader.HasAll(); ++id) {
    if (*id != atWork) {
      reader.Read(folder, *id);
    }
  }
  if (!reader.FlashIsSettled() && records != nullptr) {
    standing.flashUnfinished = atWork.empty() && refhost::StatusOfDevice(*records) == refhost::kUpdateRunning;
  }
  return standing;
}

std::optional<double> SecondsOf(const std::string& utc) {
  tm parts{};
  const char* rest = strptime(utc.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
  if (rest == nullptr) {
    return {};
  }
  double fraction = 0;
  if (*rest == '.') {
    double digit = 0.1;
    for (++rest; *rest >= '0' && *rest <= '9'; ++rest, digit /= 10) {
      fraction += digit * (*rest - '0');
    }
  }
  return std::string_view(rest) == "Z" ? std::optional(static_cast<double>(timegm(&parts)) + fraction) : std::nullopt;
}

}  // namespace orvhost
