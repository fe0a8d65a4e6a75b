#include "orvhost/journal/remains.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "orvhost/interface/options.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/journal_line.h"
#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

bool EnteredOne(const RecordedRun& run, std::initializer_list<const char*> phases) {
  return std::ranges::any_of(phases, [&run](const char* phase) { return run.Entered(phase); });
}

bool EnteredStepOfUpdate(const RecordedRun& run) {
  return EnteredOne(run, {"register", "prepare", "write", "record"});
}

bool WentDown(const RecordedRun& run) {
  TraceWatch watch;
  Replay(run, &watch);
  return watch.ShutdownWasRequested();
}

// What came of writing the flash: the flash tool has ended, the update went on from there, or says so itself.
bool HasResultOfFlash(const RecordedRun& run) {
  const nlohmann::json* outcome = run.Outcome();
  const bool saysSo = outcome != nullptr && (outcome->value("flash_touched", nlohmann::json()) == true ||
                                             run.OutcomeText("verdict").starts_with("updated"));
  return saysSo || run.Entered("record") || std::ranges::any_of(run.entries, [](const JournalEntry& entry) {
           return entry.kind == "trace" && entry.Text("text").starts_with(plugin_lines::lines::kFlashToolEnded);
         });
}

// The last shell command that writes the flash and was started; "" for none.
std::string LastFlashCommand(const RecordedRun& run) {
  std::string line;
  std::string before;
  std::string key;
  for (const JournalEntry& entry : run.entries) {
    if (entry.kind == "command" && plugin_lines::WritesTheFlash(entry.Text("line"))) {
      before = std::exchange(line, entry.Text("line"));
      key = entry.CommandKey();
    } else if (entry.kind == "command_end" && entry.Text("result") == "not-started" && !key.empty() &&
               entry.CommandKey() == key) {
      line = before;
    }
  }
  return line;
}

}  // namespace

std::string CommandOf(const RecordedRun& run) {
  const nlohmann::json* outcome = run.Outcome();
  for (const std::string& said : {run.Begin("command"), outcome != nullptr ? TextIn(*outcome, "command") : ""}) {
    if (!said.empty()) {
      return said;
    }
  }
  if (EnteredStepOfUpdate(run) || RemainsOfFlash(run).began) {
    return "update";
  }
  if (run.Entered("method")) {
    return "methods";
  }
  return EnteredOne(run, {"confirm", "apply"}) || WentDown(run) ? "apply" : "";
}

FlashRemains RemainsOfFlash(const RecordedRun& run) {
  TraceWatch watch;
  Replay(run, &watch);
  if (watch.FlashBegan()) {
    return {.began = true, .command = watch.FlashCommand()};
  }
  const std::string command = LastFlashCommand(run);
  return {.began = !command.empty() || HasResultOfFlash(run), .command = command};
}

bool ReachedTheDevice(const RecordedRun& run) {
  const std::string command = CommandOf(run);
  if (run.IsDryRun() || !MayChangeDevice(command, false)) {
    return false;
  }
  if (command == "update") {
    return EnteredStepOfUpdate(run) || RemainsOfFlash(run).began;
  }
  if (command == "apply") {
    return run.Entered("apply") || WentDown(run);
  }
  return (run.Entered("method") && run.Option("method") == kRebootMethod) || WentDown(run);
}

bool WasPutIntoOperation(const RecordedRun& run) {
  const std::string command = CommandOf(run);
  const bool isApply = command == "apply" || command == "methods";
  // The marker is deleted only when the BMC has confirmed the flag.
  return isApply && ReachedTheDevice(run) &&
         (WentDown(run) || std::ranges::any_of(run.entries, [](const JournalEntry& entry) {
            return entry.kind == "trace" && entry.Text("text").starts_with(plugin_lines::lines::kMarkerDeleted);
          }));
}

bool MayHaveReachedTheDevice(const RecordedRun& run) {
  const std::string command = CommandOf(run);
  return run.IsDamaged() && run.Outcome() == nullptr && !run.IsDryRun() && !ReachedTheDevice(run) &&
         (command.empty() || MayChangeDevice(command, false)) &&
         (run.Begin("command") != "methods" || run.Option("method") == kRebootMethod);
}

}  // namespace orvhost
