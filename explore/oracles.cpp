#include "explore/oracles.h"

#include <algorithm>
#include <sstream>

#include "explore/stage.h"

namespace explore {

namespace {

constexpr Microseconds kHour = 3'600'000'000;
constexpr Microseconds kLongestPerRecord = 1'100'000'000;  // three requests that no answer comes to, and two pauses
constexpr int kMostRequests = 3000;

using Findings = std::vector<std::string>;

bool AnyOf(const std::vector<Fault>& faults, std::initializer_list<FaultKind> kinds) {
  return std::ranges::any_of(faults, [&](const Fault& fault) { return std::ranges::count(kinds, fault.kind) != 0; });
}

std::string Text(const RunEnd& run, const char* name) {
  return run.object.value(name, "");
}

void JudgeFlash(const RunEnd& run, Findings* findings) {
  const bool reached = run.counts.flashStarts > 0 || run.counts.sdrUpdates > 0;
  const bool said = run.object.value("flash_touched", false);
  if (run.words != "diagnose" && reached && !said) {
    findings->push_back("truth: the BMC saw a flash, and " + run.words + " says that it was not touched");
  }
  if (run.words != "diagnose" && said && run.counts.flashPrograms == 0) {
    findings->push_back("truth: " + run.words + " says that the flash was touched, and nothing was started");
  }
}

void JudgeVerdict(const World& world, const RunEnd& run, const std::vector<Fault>& faults, Findings* findings) {
  const std::string verdict = run.Verdict();
  const auto& state = world.TheBmc().CurrentState();
  const std::string next = world.Kind().NewVersion();
  const bool stands = state.standby && next.find(kv6000::Text(*state.standby)) != std::string::npos;
  if (verdict == "updated" && !stands) {
    findings->push_back("truth: \"updated\", and no whole image stands by");
  }
  if (verdict == "verified" && run.words == "verify" && world.RunningVersion() != Text(run, "after") &&
      !AnswersLie(faults)) {
    findings->push_back("truth: \"verified\" as " + Text(run, "after") + ", and the BMC runs " +
                        world.RunningVersion());
  }
  if ((verdict == "going-down") != (run.askedToHalt || run.askedToRestart) && run.exitCode == 0 &&
      run.words.starts_with("apply") && verdict != "nothing-to-do") {
    findings->push_back("truth: \"" + verdict + "\", and the machine was not asked so");
  }
  if (run.exitCode == 0 && run.object.value("changed", false) == false && run.counts.flashStarts > 0) {
    findings->push_back("truth: nothing changed, it says, and the flash was written");
  }
}

void JudgeBounds(const World& world, const RunEnd& run, Findings* findings) {
  if (run.took > 4 * kHour + world.Kind().records * kLongestPerRecord) {
    findings->push_back("bounds: " + run.words + " took " + std::to_string(run.took / kHour) + " hours");
  }
  if (run.counts.requests > kMostRequests) {
    findings->push_back("bounds: " + run.words + " made " + std::to_string(run.counts.requests) + " requests");
  }
  if (run.leftOpen > 0) {
    findings->push_back("bounds: " + run.words + " left " + std::to_string(run.leftOpen) + " descriptors open");
  }
}

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

// Lines that are whole, a first and a last one, and an end for every command.
void JudgeJournal(const Disk& disk, const RunEnd& run, Findings* findings) {
  const std::string id = Text(run, "run_id");
  const std::string journal = id.empty() ? "" : disk.Read("/srv/orv/journal/" + id + ".jsonl");
  if (journal.empty()) {
    if (!id.empty()) {
      findings->push_back("trace: " + run.words + " left no journal");
    }
    return;
  }
  std::istringstream lines(journal);
  std::string line;
  std::string last;
  bool isFirst = true;
  while (std::getline(lines, line)) {
    if (!line.starts_with("{\"t\":\"") || !line.ends_with('}')) {
      findings->push_back("trace: a line of the journal is not whole: " + line.substr(0, 60));
    }
    if (isFirst && line.find("\"kind\":\"begin\"") == std::string::npos) {
      findings->push_back("trace: the journal does not begin with its begin");
    }
    isFirst = false;
    last = line;
  }
  if (last.find("\"kind\":\"end\"") == std::string::npos) {
    findings->push_back("trace: the journal does not end with its end");
  }
  if (Count(journal, "\"kind\":\"command\"") != Count(journal, "\"kind\":\"command_end\"")) {
    findings->push_back("trace: a command of the journal has no end");
  }
}

}  // namespace

bool AnswersLie(const std::vector<Fault>& faults) {
  return AnyOf(faults, {FaultKind::kShort, FaultKind::kLong, FaultKind::kNothing, FaultKind::kGarbage});
}

void JudgeRun(const World& world, const Disk& disk, const RunEnd& run, const std::vector<Fault>& faults,
              Findings* findings) {
  findings->insert(findings->end(), run.complaints.begin(), run.complaints.end());
  if (run.WasCut()) {
    return;
  }
  if (!run.object.is_object() || run.object.value("exit_code", -1) != run.exitCode) {
    findings->push_back("truth: " + run.words + " did not print its object");
    return;
  }
  if (run.exitCode == 1) {
    findings->push_back("truth: " + run.words + " ended by an unexpected error: " + run.object["error"].dump());
  }
  JudgeFlash(run, findings);
  JudgeVerdict(world, run, faults, findings);
  JudgeBounds(world, run, findings);
  if (!TheStage().JournalIsHit()) {
    JudgeJournal(disk, run, findings);
  }
}

void JudgeRemains(const Disk& disk, Findings* findings) {
  for (const std::string& name : disk.AllNames("/srv/orv")) {
    const bool isTemporary = name.size() > 7 && name[name.size() - 7] == '.' &&
                             std::all_of(name.end() - 6, name.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (name == ".orvhost-package" || name == "unfinished" || isTemporary) {
      findings->push_back("files: " + name + " is left");
    }
  }
  for (const char* note : {"/srv/orv/orvhost.run", "/srv/orv/repository/state.json"}) {
    const std::string text = disk.Read(note);
    if (!text.empty() && !nlohmann::json::accept(text)) {
      findings->push_back(std::string("files: ") + note + " is damaged");
    }
  }
}

}  // namespace explore
