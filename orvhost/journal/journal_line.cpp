#include "orvhost/journal/journal_line.h"

namespace orvhost {

namespace {

using nlohmann::json;

constexpr int kDeepest = 16;

}  // namespace

json ParseLine(std::string_view line) {
  if (line.size() > kLongestLine) {
    return {};
  }
  bool isTooDeep = false;
  json object = json::parse(
      line,
      [&isTooDeep](int depth, json::parse_event_t, json&) {
        isTooDeep |= depth > kDeepest;
        return !isTooDeep;
      },
      false);
  return isTooDeep || !object.is_object() ? json() : object;
}

std::string TextIn(const json& object, const char* name) {
  const auto found = object.is_object() ? object.find(name) : object.end();
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

}  // namespace orvhost
