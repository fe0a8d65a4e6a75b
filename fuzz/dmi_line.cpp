// A label on the first line and what dmidecode prints behind it, as DmiValue reads them.
#include <optional>

#include "fuzz/property.h"
#include "report/dmi_property.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [label, line] = fuzz::FirstLineAndRest(fuzz::Text(data, size));
  const std::optional<std::string> value = kestrel::DmiValue(line, label);

  const std::size_t at = line.find(label);
  fuzz::Require(value.has_value() == (at != std::string::npos), "there is a value when the label is there");
  if (!value) {
    return 0;
  }
  fuzz::Require(value->empty() || (value->front() != ' ' && value->back() != ' '), "no blanks around the value");
  const std::string rest = line.substr(at + label.size());
  const std::size_t start = rest.find(*value);
  fuzz::Require(start != std::string::npos, "the value stands behind the label");
  fuzz::Require(value->empty() || rest.find_first_not_of(' ') == start, "only blanks stand between them");
  fuzz::Require(rest.find_last_not_of(' ') + 1 == (value->empty() ? 0 : start + value->size()),
                "only blanks stand behind the value");
  return 0;
}
