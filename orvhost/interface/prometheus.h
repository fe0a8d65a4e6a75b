// Metrics in the text format that Prometheus reads. What their labels say may come from anywhere.
#ifndef ORVHOST_INTERFACE_PROMETHEUS_H
#define ORVHOST_INTERFACE_PROMETHEUS_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvhost {

// A gauge of one sample.
struct Metric {
  std::string name;
  std::string help;  // one line
  std::vector<std::pair<std::string, std::string>> labels;
  std::string value;  // a number as text, or kUnknownValue
};

inline constexpr const char* kUnknownValue = "NaN";

[[nodiscard]] std::string ValueOf(std::optional<bool> answer);

// `name="value",...`, as between the braces of a sample; "" without labels.
[[nodiscard]] std::string LabelsOf(const Metric& metric);

// The lines of one metric: help, type and sample. A label's value is made printable, and at most kLongestLabel long.
inline constexpr std::size_t kLongestLabel = 100;
[[nodiscard]] std::vector<std::string> ToPrometheus(const Metric& metric);

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_PROMETHEUS_H
