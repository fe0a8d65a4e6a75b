#include "orvhost/interface/outcome.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

#include "orvhost/interface/printable.h"

namespace orvhost {

namespace {

using nlohmann::ordered_json;

constexpr int kSchema = 2;

ordered_json ToJson(const Failure& failure) {
  return {{"cause", failure.cause},
          {"evidence",
           {{"command", failure.evidence.command},
            {"completion_code", failure.evidence.completionCode},
            {"records", failure.evidence.records},
            {"trace", failure.evidence.trace},
            {"error_output", failure.evidence.errorOutput}}},
          {"next_step", failure.nextStep}};
}

ordered_json ToJson(const std::vector<std::pair<std::string, std::string>>& items) {
  ordered_json object = ordered_json::object();
  for (const auto& [name, value] : items) {
    object[name] = value;
  }
  return object;
}

ordered_json ToJson(const std::vector<Fact>& facts) {
  ordered_json object = ordered_json::object();
  for (const Fact& fact : facts) {
    object[fact.key] = fact.value;
  }
  return object;
}

constexpr std::size_t kLongestName = 40;
constexpr std::size_t kLongestHint = 16384;  // with several paths, each as long as one can be

std::string PrintableName(const std::string& name) {
  return Printable(name, kLongestName);
}

// "  name:     value" with the values of a block below each other.
void AppendItem(std::string* text, const std::string& name, const std::string& value, std::size_t width,
                std::size_t longest = kLongestPrinted) {
  if (value.empty()) {
    return;
  }
  const std::string shown = PrintableName(name);
  const std::size_t characters = CharactersIn(shown);
  const std::string padding(std::max(width, characters) - characters, ' ');
  *text += "  " + shown + ": " + padding + Printable(value, longest) + "\n";
}

std::string AboutTheProgram(const Outcome& outcome) {
  return "orvhost" + (outcome.command.empty() ? "" : " " + outcome.command) + ": ";
}

std::string VerdictAndExitCode(const Outcome& outcome) {
  const std::string exitCode = "exit code " + std::to_string(static_cast<int>(outcome.exitCode));
  return outcome.verdict.empty() ? exitCode : outcome.verdict + ", " + exitCode;
}

// Of the flash these know what earlier runs did, if that; that they did nothing themselves might be taken for it.
bool LooksBack(std::string_view command) {
  return command == "history" || command == "show" || command == "diagnose" || command == "metrics";
}

std::string WholeSummary(const Outcome& outcome) {
  std::string text = outcome.summary;
  for (const std::string& line : outcome.lines) {
    text += (text.empty() ? "" : "\n") + line;
  }
  return text;
}

}  // namespace

std::string FactKey(std::string_view name) {
  std::string key;
  for (const char letter : name) {
    const auto character = static_cast<unsigned char>(letter);
    if (std::isalnum(character) != 0) {
      key += static_cast<char>(std::tolower(character));
    } else if (!key.empty() && key.back() != '_') {
      key += '_';
    }
  }
  if (key.ends_with('_')) {
    key.pop_back();
  }
  return key.empty() ? "unnamed" : key;
}

std::string ToJson(const Outcome& outcome) {
  ordered_json document = {{"schema", kSchema},
                           {"command", outcome.command},
                           {"run_id", outcome.runId},
                           {"verdict", outcome.verdict},
                           {"exit_code", static_cast<int>(outcome.exitCode)},
                           {"changed", outcome.changed},
                           {"before", outcome.before},
                           {"after", outcome.after},
                           {"needs_apply", outcome.needsApply ? ordered_json(*outcome.needsApply) : ordered_json()},
                           {"phase", outcome.phase},
                           {"flash_touched", outcome.flashTouched},
                           {"summary", WholeSummary(outcome)},
                           {"facts", ToJson(outcome.facts)},
                           {"notices", outcome.notices},
                           {"error", outcome.failure ? ToJson(*outcome.failure) : ordered_json()}};
  if (!outcome.listing.name.empty()) {
    ordered_json& list = document[outcome.listing.name] = ordered_json::array();
    for (const auto& entry : outcome.listing.entries) {
      list.push_back(ToJson(entry));
    }
  }
  return document.dump(-1, ' ', true, ordered_json::error_handler_t::replace) + "\n";
}

std::string ToText(const Outcome& outcome) {
  std::size_t width = 0;
  for (const Fact& fact : outcome.facts) {
    width = std::max(width, CharactersIn(PrintableName(fact.name)));
  }
  std::string text = outcome.summary.empty() ? "" : Printable(outcome.summary, kLongestHint) + "\n";
  for (const std::string& line : outcome.lines) {
    text += Printable(line) + "\n";
  }
  for (const Fact& fact : outcome.facts) {
    AppendItem(&text, fact.name, fact.value.empty() ? "(none)" : fact.value, width);
  }
  return text;
}

std::string ToErrorText(const Outcome& outcome) {
  constexpr std::size_t kWidth = 15;  // of "completion code"
  const Failure failure = outcome.failure.value_or(Failure{});
  std::string text = AboutTheProgram(outcome) + Printable(failure.cause) + "\n";
  AppendItem(&text, "verdict", VerdictAndExitCode(outcome), kWidth);
  for (const std::string& record : failure.evidence.records) {
    AppendItem(&text, "record", record, kWidth);
  }
  for (const std::string& line : failure.evidence.trace) {
    AppendItem(&text, "trace", line, kWidth);
  }
  AppendItem(&text, "shell command", failure.evidence.command, kWidth);
  for (const std::string& line : failure.evidence.errorOutput) {
    AppendItem(&text, "error output", line, kWidth);
  }
  AppendItem(&text, "completion code", failure.evidence.completionCode, kWidth);
  const bool workBegan = outcome.exitCode != ExitCode::kUsage;
  if (workBegan && !LooksBack(outcome.command)) {
    AppendItem(&text, "flash", outcome.flashTouched ? "writing it had begun" : "not touched by this run", kWidth);
  }
  AppendItem(&text, "next step", failure.nextStep, kWidth, kLongestHint);
  if (failure.nextStep.find("same command") != std::string::npos) {
    AppendItem(&text, "same command", outcome.commandLine, kWidth, kLongestHint);
  }
  return text;
}

std::string ToUndeliveredText(const Outcome& outcome, const std::string& reason) {
  constexpr std::size_t kWidth = 15;  // as of a failure
  std::string text =
      AboutTheProgram(outcome) + "The result could not be written to the standard output (" + reason + ").\n";
  if (!outcome.verdict.empty()) {
    AppendItem(&text, "the run itself", VerdictAndExitCode(outcome), kWidth);
  }
  const bool leavesSomething = outcome.changed || outcome.flashTouched;
  AppendItem(&text, "next step",
             leavesSomething ? "What was done stays done. Run \"orvhost show " + outcome.runId +
                                   outcome.repeatedOptions + "\" to see how the run ended."
                             : "Run the same command again with a standard output that can be written.",
             kWidth);
  return text;
}

}  // namespace orvhost
