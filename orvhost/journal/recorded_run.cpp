#include "orvhost/journal/recorded_run.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "orvhost/interface/options.h"
#include "orvhost/journal/journal_folder.h"

namespace orvhost {

namespace {

using nlohmann::json;

std::string TextIn(const json& object, const char* name) {
  const auto found = object.is_object() ? object.find(name) : object.end();
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

// Nothing when the line is not one that a run writes.
std::optional<JournalEntry> Parse(const std::string& line) {
  json fields = json::parse(line, nullptr, false);
  if (!fields.is_object() || !fields.contains("s") || !fields["s"].is_number()) {
    return {};
  }
  const std::string kind = TextIn(fields, "kind");
  if (kind.empty() || TextIn(fields, "t").empty()) {
    return {};
  }
  return JournalEntry{fields["s"], kind, std::move(fields)};
}

// "42" is the number of "00000042-20260131T120000Z".
bool HasNumber(const std::string& run, const std::string& name) {
  const std::string number = run.substr(0, run.find('-'));
  return !name.empty() && name.front() != '0' &&
         number.substr(std::min(number.size(), number.find_first_not_of('0'))) == name;
}

void ReplayLine(const JournalEntry& entry, refhost::TraceSink* sink) {
  const std::string text = entry.Text("text");
  if (entry.kind == "trace") {
    const json level = entry.fields.value("level", json());
    if (level.is_number_integer() && level != 0) {
      sink->Write({level.get<int>(), "bmc", "", "", text});
    }
  } else if (entry.kind == "record") {
    const std::string id = entry.Text("id");
    const std::string detail = entry.Text("detail");
    sink->Write({0, "bmc", id, detail, text});
  }
}

}  // namespace

std::string JournalEntry::Text(const char* name) const {
  return TextIn(fields, name);
}

std::string RecordedRun::Begin(const char* name) const {
  return !entries.empty() && entries.front().kind == "begin" ? entries.front().Text(name) : "";
}

std::string RecordedRun::Option(const char* name) const {
  if (entries.empty() || !entries.front().fields.contains("options")) {
    return "";
  }
  return TextIn(entries.front().fields["options"], name);
}

bool RecordedRun::IsDryRun() const {
  if (entries.empty()) {
    return false;
  }
  const json::json_pointer dryRun("/options/dry_run");
  return entries.front().fields.contains(dryRun) && entries.front().fields[dryRun] == true;
}

std::string RecordedRun::LastPhase() const {
  const auto found =
      std::find_if(entries.rbegin(), entries.rend(), [](const JournalEntry& e) { return e.kind == "phase"; });
  return found != entries.rend() ? found->Text("name") : "";
}

bool RecordedRun::Entered(const std::string& phase) const {
  return std::ranges::any_of(entries,
                             [&](const JournalEntry& e) { return e.kind == "phase" && e.Text("name") == phase; });
}

const json* RecordedRun::Outcome() const {
  if (entries.empty() || entries.back().kind != "end" || !entries.back().fields.contains("outcome")) {
    return nullptr;
  }
  const json& outcome = entries.back().fields["outcome"];
  return outcome.is_object() ? &outcome : nullptr;
}

std::string RecordedRun::OutcomeText(const char* name) const {
  const json* outcome = Outcome();
  return outcome != nullptr ? TextIn(*outcome, name) : "";
}

double RecordedRun::Seconds() const {
  return entries.empty() ? 0 : entries.back().seconds;
}

RecordedRun ReadRun(const std::string& folder, const std::string& runId) {
  RecordedRun run;
  run.id = runId;
  std::ifstream file(JournalPath(folder, runId), std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    const bool isWhole = !file.eof();
    if (line.empty()) {
      continue;
    }
    if (auto entry = Parse(line)) {
      run.entries.push_back(std::move(*entry));
    } else if (isWhole) {
      ++run.damagedLines;
    } else {
      run.lastLineIsTorn = true;
    }
  }
  return run;
}

std::optional<std::string> FindRun(const std::vector<std::string>& runs, const std::string& name, std::string* error) {
  std::vector<std::string> found;
  std::ranges::copy_if(runs, std::back_inserter(found), [&](const std::string& run) { return run.starts_with(name); });
  const auto numbered = std::ranges::find_if(runs, [&](const std::string& run) { return HasNumber(run, name); });
  if (numbered != runs.end()) {
    found = {*numbered};
  }
  if (name == "last" && !runs.empty()) {
    found = {runs.back()};
  }
  if (found.size() == 1) {
    return found.front();
  }
  *error = found.empty()
               ? "There is no run \"" + name + "\"."
               : "More than one run begins with \"" + name + "\": " + std::to_string(found.size()) + " of them.";
  return {};
}

void Replay(const RecordedRun& run, refhost::TraceSink* sink) {
  for (const JournalEntry& entry : run.entries) {
    ReplayLine(entry, sink);
  }
}

void Replay(const RecordedRun& run, TraceWatch* watch) {
  const JournalEntry* command = nullptr;
  for (const JournalEntry& entry : run.entries) {
    ReplayLine(entry, watch);
    if (entry.kind == "command") {
      command = &entry;
    } else if (command != nullptr && entry.kind == "command_end" && entry.Text("result") == "not-started" &&
               entry.fields.value("n", json()) == command->fields.value("n", json())) {
      watch->CommandNeverStarted(command->Text("line"));
    }
  }
}

bool ReachedTheDevice(const RecordedRun& run) {
  const std::string command = run.Begin("command");
  if (!MayChangeDevice(command, run.IsDryRun())) {
    return false;
  }
  if (command == "update") {
    return run.Entered("register");
  }
  if (command == "apply") {
    return run.Entered("apply");
  }
  return run.Entered("method") && run.Option("method") == kRebootMethod;
}

}  // namespace orvhost
