#include "orvhost/interface/outcome.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace orvhost {

namespace {

using nlohmann::ordered_json;

constexpr int kSchema = 1;

ordered_json ToJson(const Failure& failure) {
  return {{"cause", failure.cause},
          {"evidence",
           {{"command", failure.evidence.command},
            {"completion_code", failure.evidence.completionCode},
            {"records", failure.evidence.records},
            {"trace", failure.evidence.trace}}},
          {"next_step", failure.nextStep}};
}

ordered_json ToJson(const std::vector<std::pair<std::string, std::string>>& items) {
  ordered_json object = ordered_json::object();
  for (const auto& [name, value] : items) {
    object[name] = value;
  }
  return object;
}

// "  name:     value" with the values of a block below each other.
void AppendItem(std::string* text, const std::string& name, const std::string& value, std::size_t width) {
  if (value.empty()) {
    return;
  }
  const std::size_t padding = std::max(width, name.size()) - name.size();
  *text += "  " + name + ": " + std::string(padding, ' ') + value + "\n";
}

}  // namespace

std::string ToJson(const Outcome& outcome) {
  ordered_json document = {{"schema", kSchema},
                           {"command", outcome.command},
                           {"run_id", outcome.runId},
                           {"verdict", outcome.verdict},
                           {"exit_code", static_cast<int>(outcome.exitCode)},
                           {"changed", outcome.changed},
                           {"before", outcome.before},
                           {"after", outcome.after},
                           {"phase", outcome.phase},
                           {"flash_touched", outcome.flashTouched},
                           {"summary", outcome.summary},
                           {"facts", ToJson(outcome.facts)},
                           {"notices", outcome.notices},
                           {"error", outcome.failure ? ToJson(*outcome.failure) : ordered_json()}};
  if (!outcome.listing.name.empty()) {
    ordered_json& list = document[outcome.listing.name] = ordered_json::array();
    for (const auto& entry : outcome.listing.entries) {
      list.push_back(ToJson(entry));
    }
  }
  return document.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string ToText(const Outcome& outcome) {
  std::size_t width = 0;
  for (const auto& fact : outcome.facts) {
    width = std::max(width, fact.first.size());
  }
  std::string text = outcome.summary + "\n";
  for (const auto& [name, value] : outcome.facts) {
    AppendItem(&text, name, value.empty() ? "(none)" : value, width);
  }
  return text;
}

std::string ToErrorText(const Outcome& outcome) {
  constexpr std::size_t kWidth = 15;  // of "completion code"
  const Failure failure = outcome.failure.value_or(Failure{});
  std::string text = "orvhost" + (outcome.command.empty() ? "" : " " + outcome.command) + ": " + failure.cause + "\n";
  for (const std::string& record : failure.evidence.records) {
    AppendItem(&text, "record", record, kWidth);
  }
  for (const std::string& line : failure.evidence.trace) {
    AppendItem(&text, "trace", line, kWidth);
  }
  AppendItem(&text, "command", failure.evidence.command, kWidth);
  AppendItem(&text, "completion code", failure.evidence.completionCode, kWidth);
  const bool workBegan = outcome.exitCode != ExitCode::kUsage;
  if (workBegan) {
    AppendItem(&text, "flash", outcome.flashTouched ? "writing it had begun" : "not touched", kWidth);
  }
  AppendItem(&text, "next step", failure.nextStep, kWidth);
  return text;
}

}  // namespace orvhost
