#include "explore/operator.h"

#include <sstream>

namespace explore {

namespace {

using Kind = NextStep::Kind;

bool Holds(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

std::string WithArguments(const std::string& command) {
  return command == "update" || command == "check" ? command + " PACKAGE"
         : command == "apply"                      ? "apply --yes"
                                                   : command;
}

// What the first, or the second, "orvhost X" in quotes runs, with the options that it names; "" for none.
std::string QuotedCommand(const std::string& text, bool second) {
  constexpr std::string_view kStart = "\"orvhost ";
  std::size_t at = text.find(kStart);
  if (second && at != std::string::npos) {
    at = text.find(kStart, at + 1);
  }
  if (at == std::string::npos) {
    return "";
  }
  std::istringstream words(text.substr(at + kStart.size(), text.find('"', at + 1) - at - kStart.size()));
  std::string word;
  words >> word;
  std::string command = WithArguments(word);
  while (words >> word) {
    command += word.starts_with("--allow-") ? " " + word : "";
  }
  return command;
}

// Some sentences ask for a person's work first, which is done here by the fault's being over.
bool AsksForTheSame(const std::string& text) {
  return Holds(text, "same command") || Holds(text, "try again") || Holds(text, "repair what the evidence names") ||
         Holds(text, "Run it as root") || Holds(text, "Give ") || Holds(text, "Check the path");
}

std::string StepInFacts(const RunEnd& run) {
  return run.object.value("facts", nlohmann::json::object()).value("next_step", "");
}

NextStep AfterSuccess(const RunEnd& last, const std::string& wanted) {
  const std::string verdict = last.Verdict();
  if (verdict == "going-down" || last.askedToHalt || last.askedToRestart) {
    return {Kind::kRun, "verify", false, "the machine is going down"};
  }
  const auto needs = last.object.find("needs_apply");
  if (needs != last.object.end() && *needs == true) {
    return {Kind::kRun, "apply --yes", false, "needs_apply is true"};
  }
  // What was only a look does not end what was set out for.
  return last.words == wanted ? NextStep{Kind::kDone, "", false, "success"}
                              : NextStep{Kind::kRun, wanted, false, "what was wanted comes next"};
}

}  // namespace

NextStep BySentence(const std::string& text, const std::string& last, const Memory& memory) {
  NextStep next{Kind::kRun, "", Holds(text, "Wait ") || Holds(text, " wait ") || Holds(text, "when it is done"), text};
  if (Holds(text, "Shut the machine down by hand")) {
    next.kind = Kind::kShutDown;
  } else if (memory.failedToSend && Holds(text, "start the machine anew")) {
    next.kind = Kind::kStartAnew;
  } else if (const bool second = Holds(text, "otherwise run") && memory.wasApplied;
             !QuotedCommand(text, second).empty()) {
    next.words = QuotedCommand(text, second);
  } else if (AsksForTheSame(text)) {
    next.words = last;
  } else if (Holds(text, "Nothing to do")) {
    next.kind = Kind::kDone;
  } else {
    next.kind = Kind::kLost;
  }
  return next;
}

NextStep AfterRun(const RunEnd& last, const std::string& wanted, const Memory& memory) {
  if (last.WasCut() || !last.object.is_object()) {
    return {Kind::kRun, "diagnose", false, "the run was cut off"};
  }
  if (last.exitCode == 0 && (last.words == "diagnose" || !StepInFacts(last).empty())) {
    const std::string text = StepInFacts(last);
    return text.empty() ? NextStep{Kind::kRun, wanted, false, "nothing is left of the run"}
                        : BySentence(text, wanted, memory);
  }
  if (last.exitCode == 0) {
    return AfterSuccess(last, wanted);
  }
  const nlohmann::json error = last.object.value("error", nlohmann::json::object());
  return BySentence(error.is_object() ? error.value("next_step", "") : "", last.words, memory);
}

}  // namespace explore
