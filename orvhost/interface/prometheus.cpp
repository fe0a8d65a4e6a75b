#include "orvhost/interface/prometheus.h"

#include "orvhost/interface/printable.h"

namespace orvhost {

namespace {

std::string Quoted(const std::string& value) {
  std::string quoted = "\"";
  for (const char letter : Printable(value, kLongestLabel)) {
    if (letter == '"' || letter == '\\') {
      quoted += '\\';
    }
    quoted += letter;
  }
  return quoted + "\"";
}

}  // namespace

std::string ValueOf(std::optional<bool> answer) {
  return !answer ? kUnknownValue : *answer ? "1" : "0";
}

std::string LabelsOf(const Metric& metric) {
  std::string text;
  for (const auto& [name, value] : metric.labels) {
    text += (text.empty() ? "" : ",") + name + "=" + Quoted(value);
  }
  return text;
}

std::vector<std::string> ToPrometheus(const Metric& metric) {
  const std::string labels = LabelsOf(metric);
  return {"# HELP " + metric.name + " " + metric.help, "# TYPE " + metric.name + " gauge",
          metric.name + (labels.empty() ? "" : "{" + labels + "}") + " " + metric.value};
}

}  // namespace orvhost
