#include "explore/scenario.h"

#include <algorithm>
#include <charconv>
#include <sstream>

#include "explore/roads.h"

namespace explore {

namespace {

std::optional<Fault> ParseFault(const std::string& word, std::string* error) {
  const std::size_t colon = word.find(':');
  Fault fault;
  const auto [end, failure] = std::from_chars(word.data(), word.data() + std::min(colon, word.size()), fault.event);
  if (colon == std::string::npos || failure != std::errc() || end != word.data() + colon || fault.event < 1) {
    *error = "\"" + word + "\" is no fault; one has the form EVENT:FAULT, such as 41:busy.";
    return {};
  }
  const std::string name = word.substr(colon + 1);
  const auto row = std::ranges::find(AllFaults(), name, &FaultRow::name);
  if (row == AllFaults().end()) {
    *error = "There is no fault \"" + name + "\"; \"--list\" shows all.";
    return {};
  }
  fault.kind = row->kind;
  return fault;
}

}  // namespace

std::string Text(const Scenario& scenario) {
  std::string text = scenario.road;
  for (const Fault& fault : scenario.faults) {
    text += " " + std::to_string(fault.event) + ":" + std::string(RowOf(fault.kind).name);
  }
  return text;
}

std::optional<Scenario> ParseScenario(const std::string& text, std::string* error) {
  std::istringstream words(text);
  Scenario scenario;
  words >> scenario.road;
  if (FindRoad(scenario.road) == nullptr) {
    *error = "There is no road \"" + scenario.road + "\"; \"--list\" shows all.";
    return {};
  }
  for (std::string word; words >> word;) {
    const auto fault = ParseFault(word, error);
    if (!fault) {
      return {};
    }
    scenario.faults.push_back(*fault);
  }
  std::ranges::stable_sort(scenario.faults, {}, &Fault::event);
  const auto twice = std::ranges::adjacent_find(scenario.faults, {}, &Fault::event);
  if (twice != scenario.faults.end()) {
    *error = "Event " + std::to_string(twice->event) + " has two faults.";
    return {};
  }
  return scenario;
}

}  // namespace explore
