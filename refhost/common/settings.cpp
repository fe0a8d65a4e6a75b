#include "refhost/settings.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace refhost {

namespace {

Settings& MutableSettings() {
  static Settings settings;
  return settings;
}

double TimeScale() {
  const char* text = getenv("ORVHOST_LAB_SLEEP_SCALE");
  if (text == nullptr) {
    return 1.0;
  }
  char* end = nullptr;
  const double factor = strtod(text, &end);
  const bool usable = end != text && *end == '\0' && std::isfinite(factor) && factor > 0.0;
  return usable ? factor : 1.0;
}

}  // namespace

void Configure(Settings settings) {
  std::string& path = settings.installPath;
  while (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  MutableSettings() = std::move(settings);
}

const Settings& CurrentSettings() {
  return MutableSettings();
}

unsigned long ScaledMilliseconds(unsigned long milliseconds) {
  const double factor = TimeScale();
  return factor == 1.0 ? milliseconds : static_cast<unsigned long>(static_cast<double>(milliseconds) * factor);
}

}  // namespace refhost
