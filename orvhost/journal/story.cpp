#include "orvhost/journal/story.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <utility>

#include "orvhost/journal/journal_line.h"
#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

using nlohmann::json;

constexpr auto kPhases = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"package", "reads the package"},
    {"plug-in", "loads the plug-in"},
    {"prerequisites", "looks for what the plug-in needs on this machine"},
    {"server type", "compares the package with the server type"},
    {"fit", "asks the plug-in whether the package fits"},
    {"compare", "compares the versions"},
    {"preflight", "looks for obstacles to the update"},
    {"register", "registers the package in the records"},
    {"prepare", "lets the plug-in prepare the update"},
    {"write", "writes the firmware"},
    {"record", "records the written firmware"},
    {"confirm", "makes sure that the machine may go down"},
    {"apply", "puts the firmware into operation"},
    {"verify", "compares the running version with the recorded one"},
    {"identify", "asks what the device is"},
    {"folder", "looks at the folder for the report"},
    {"report", "makes the report"},
    {"send", "sends the records for the service processor"},
    {"method", "runs a method of the plug-in"},
    {"journal", "could not begin its journal"},
});

std::string Aligned(double seconds) {
  std::array<char, 32> text{};
  snprintf(text.data(), text.size(), "%9.3f", seconds);
  return text.data();
}

bool IsFailure(const JournalEntry& entry) {
  const json level = entry.fields.value("level", json());
  return plugin_lines::IsFailure(level.is_number_integer() ? level.get<int>() : 0, entry.Text("text"));
}

std::string Number(const JournalEntry& entry, const char* name) {
  return entry.fields.value(name, json()).dump();
}

// The ends of a run's commands by the command's number and process.
class CommandEnds {
 public:
  explicit CommandEnds(const RecordedRun& run) {
    for (const JournalEntry& entry : run.entries) {
      if (entry.kind == "command_end") {
        ends_.emplace(entry.CommandKey(), &entry);
      }
    }
  }

  // Null when the journal does not have it.
  const JournalEntry* Of(const JournalEntry& command) const {
    const auto found = ends_.find(command.CommandKey());
    return found != ends_.end() ? found->second : nullptr;
  }

 private:
  std::map<std::string, const JournalEntry*> ends_;
};

// How that command ended.
std::string EndOf(const CommandEnds& ends, const JournalEntry& command) {
  const JournalEntry* const found = ends.Of(command);
  if (found == nullptr) {
    return "its end is not in the journal";
  }
  const std::string result = found->Text("result");
  std::array<char, 32> buffer{};
  snprintf(buffer.data(), buffer.size(), " after %.3f s", found->seconds - command.seconds);
  const std::string took = buffer.data();
  if (result == "timed-out") {
    return "cut off at its time limit" + took;
  }
  if (result == "exited") {
    return "ended with " + Number(*found, "exit_code") + took;
  }
  return "could not be run, or was ended by a signal" + took;
}

std::string InOneLine(const JournalEntry& entry) {
  std::string text = entry.fields.value("cut", json()) == true ? "[...]" : "";
  for (const std::string& line : LinesOf(entry.Text("text"))) {
    text += (text.empty() ? "" : " / ") + line;
  }
  return text;
}

std::string EndOfRun(const JournalEntry& entry) {
  const json outcome = entry.fields.value("outcome", json());
  if (!outcome.is_object()) {
    return "ends";
  }
  std::string text = "ends: " + TextIn(outcome, "verdict") + ", exit code " + outcome.value("exit_code", json()).dump();
  const json error = outcome.value("error", json());
  if (error.is_object()) {
    text += "; " + TextIn(error, "cause") + " Next step: " + TextIn(error, "next_step");
  }
  return text;
}

// "" for a line that is left out.
std::string InWords(const CommandEnds& ends, const JournalEntry& entry, bool isTurningPoint) {
  if (entry.kind == "phase") {
    return PhaseInWords(entry.Text("name"));
  }
  if (entry.kind == "command") {
    return "  runs " + entry.Text("line") + ": " + EndOf(ends, entry);
  }
  if (entry.kind == "record") {
    return "  reports " + entry.Text("text");
  }
  if (entry.kind == "package") {
    const std::string signature = SignatureInWords(entry);
    return "  takes " + entry.Text("path") + ", SHA-256 " + entry.Text("sha256") +
           (signature.empty() ? "" : "; " + signature);
  }
  if (entry.kind == "error_output") {
    return "  error output: " + InOneLine(entry);
  }
  if (entry.kind == "notice") {
    return "  notes: " + entry.Text("text");
  }
  if (entry.kind == "end") {
    return EndOfRun(entry);
  }
  if (entry.kind != "trace") {
    return "";
  }
  if (IsFailure(entry)) {
    return "  fails: " + entry.Text("text");
  }
  return isTurningPoint ? "  begins: " + entry.Text("text") : "";
}

}  // namespace

std::string PhaseInWords(const std::string& phase) {
  const auto* found = std::ranges::find_if(kPhases, [&](const auto& each) { return each.first == phase; });
  return found != kPhases.end() ? std::string(found->second) : phase;
}

std::string SignatureInWords(const JournalEntry& package) {
  const std::string state = package.Text("signature");
  if (state == "good") {
    return "signed by " + package.Text("signed_by") + " (key " + package.Text("signing_key") + ")";
  }
  return state.empty()            ? ""
         : state == "not-checked" ? "signature not looked at"
         : state == "missing"     ? "not signed"
         : state == "unknown-key" ? "signed by a key that is not installed"
                                  : "signature refused: " + state;
}

std::vector<StoryLine> TellStory(const RecordedRun& run) {
  std::vector<StoryLine> story;
  const CommandEnds ends(run);
  TraceWatch watch;
  for (const JournalEntry& entry : run.entries) {
    const bool before = watch.FlashBegan() || watch.ShutdownWasRequested();
    Replay({run.id, {entry}}, &watch);
    const bool isTurningPoint = !before && (watch.FlashBegan() || watch.ShutdownWasRequested());
    const std::string text = InWords(ends, entry, isTurningPoint);
    if (!text.empty()) {
      story.push_back({Aligned(entry.seconds), entry.kind, text, &entry, isTurningPoint});
    }
  }
  if (run.Outcome() == nullptr) {
    story.push_back({Aligned(run.Seconds()), "", "the journal stops here, without the end of the run"});
  }
  return story;
}

std::vector<std::string> Damage(const RecordedRun& run) {
  std::vector<std::string> sentences;
  if (run.damagedLines > 0) {
    const bool isOne = run.damagedLines == 1;
    sentences.push_back(std::to_string(run.damagedLines) + " damaged line" + (isOne ? "" : "s") + " of run " + run.id +
                        (isOne ? " was" : " were") + " skipped.");
  }
  if (run.lastLineIsTorn) {
    sentences.push_back("The last line of run " + run.id + " is torn and was skipped.");
  }
  if (run.entries.empty() || run.entries.front().kind != "begin") {
    sentences.push_back("The beginning of the journal of run " + run.id + " is lost.");
  }
  return sentences;
}

}  // namespace orvhost
