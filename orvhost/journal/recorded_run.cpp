#include "orvhost/journal/recorded_run.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/journal_line.h"
#include "posix/regular_file.h"

namespace orvhost {

namespace {

using nlohmann::json;

constexpr double kLongestRun = 1e9;  // seconds: thirty years

// What every line of its kind has. Others may have more, in later versions.
struct Member {
  std::string_view kind;
  const char* path;
  bool (*isRight)(const json& value);
};

constexpr auto kText = [](const json& value) { return value.is_string(); };
constexpr auto kNumber = [](const json& value) { return value.is_number_integer(); };
constexpr auto kObject = [](const json& value) { return value.is_object(); };

constexpr auto kMembers = std::to_array<Member>({
    {"begin", "/command", kText},
    {"begin", "/options", kObject},
    {"phase", "/name", kText},
    {"package", "/path", kText},
    {"command", "/line", kText},
    {"command_end", "/result", kText},
    {"error_output", "/text", kText},
    {"trace", "/level", kNumber},
    {"trace", "/text", kText},
    {"record", "/id", kText},
    {"record", "/detail", kText},
    {"record", "/text", kText},
    {"notice", "/text", kText},
    {"end", "/outcome/verdict", kText},
    {"end", "/outcome/exit_code", kNumber},
});

bool HasItsMembers(const std::string& kind, const json& fields) {
  return std::ranges::all_of(kMembers, [&](const Member& member) {
    if (member.kind != kind) {
      return true;
    }
    const json::json_pointer path(member.path);
    return fields.contains(path) && member.isRight(fields[path]);
  });
}

// Nothing when the line is not one that a run writes.
std::optional<JournalEntry> Parse(std::string_view line) {
  json fields = ParseLine(line);
  const json since = fields.is_object() ? fields.value("s", json()) : json();
  const double seconds = since.is_number() ? since.get<double>() : -1;
  const std::string kind = TextIn(fields, "kind");
  const bool isTimed = seconds >= 0 && seconds <= kLongestRun && !TextIn(fields, "t").empty();
  if (!isTimed || kind.empty() || !HasItsMembers(kind, fields)) {
    return {};
  }
  return JournalEntry{seconds, kind, std::move(fields)};
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

std::string JournalEntry::CommandKey() const {
  const auto number = fields.find("n");
  return number != fields.end() ? number->dump() + " " + fields.value("child", json()).dump() : "";
}

bool RecordedRun::IsDamaged() const {
  return damagedLines > 0 || lastLineIsTorn || entries.empty() || entries.front().kind != "begin";
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

bool RecordedRun::HasOption(const char* name) const {
  if (entries.empty()) {
    return false;
  }
  const json::json_pointer option(std::string("/options/") + name);
  return entries.front().fields.contains(option) && entries.front().fields[option] == true;
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
  const auto text = posix::ReadRegularFile(JournalPath(folder, runId), kLargestJournal);
  if (!text) {
    run.error = errno;
    return run;
  }
  std::string_view rest = *text;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    const bool isWhole = line.size() < rest.size();
    rest.remove_prefix(line.size() + (isWhole ? 1 : 0));
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
               entry.CommandKey() == command->CommandKey()) {
      watch->CommandNeverStarted(command->Text("line"));
    }
  }
}

}  // namespace orvhost
