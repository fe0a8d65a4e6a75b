#include "orvhost/journal/story.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

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
    {"preflight", "looks for what an update would fail at"},
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
    {"journal", "finds that it could leave no journal"},
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

// How the command of this number ended.
std::string EndOf(const RecordedRun& run, const JournalEntry& command) {
  const json number = command.fields.value("n", json());
  const auto found = std::ranges::find_if(run.entries, [&](const JournalEntry& entry) {
    return entry.kind == "command_end" && entry.fields.value("n", json()) == number &&
           entry.fields.value("child", json()) == command.fields.value("child", json());
  });
  if (found == run.entries.end()) {
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
  std::string text =
      "ends: " + outcome.value("verdict", "") + ", exit code " + outcome.value("exit_code", json()).dump();
  const json error = outcome.value("error", json());
  if (error.is_object()) {
    text += "; " + error.value("cause", "") + " Next step: " + error.value("next_step", "");
  }
  return text;
}

// "" for a line that is left out.
std::string InWords(const RecordedRun& run, const JournalEntry& entry, bool isTurningPoint) {
  if (entry.kind == "phase") {
    return PhaseInWords(entry.Text("name"));
  }
  if (entry.kind == "command") {
    return "  runs " + entry.Text("line") + ": " + EndOf(run, entry);
  }
  if (entry.kind == "record") {
    return "  reports " + entry.Text("text");
  }
  if (entry.kind == "package") {
    return "  takes " + entry.Text("path") + ", SHA-256 " + entry.Text("sha256");
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

std::vector<StoryLine> TellStory(const RecordedRun& run) {
  std::vector<StoryLine> story;
  TraceWatch watch;
  for (const JournalEntry& entry : run.entries) {
    const bool before = watch.FlashBegan() || watch.ShutdownWasRequested();
    Replay({run.id, {entry}}, &watch);
    const bool isTurningPoint = !before && (watch.FlashBegan() || watch.ShutdownWasRequested());
    const std::string text = InWords(run, entry, isTurningPoint);
    if (!text.empty()) {
      story.push_back({Aligned(entry.seconds), entry.kind, text});
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
    sentences.push_back(std::to_string(run.damagedLines) + " damaged lines of run " + run.id + " were skipped.");
  }
  if (run.lastLineIsTorn) {
    sentences.push_back("The last line of run " + run.id + " is torn and was skipped.");
  }
  return sentences;
}

}  // namespace orvhost
