#include "orvhost/terminal/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace orvhost {

bool ObeysSequences(int descriptor) {
  const char* term = getenv("TERM");
  const std::string_view kind = term != nullptr ? term : "";
  return isatty(descriptor) != 0 && !kind.empty() && kind != "dumb" && kind != "unknown";
}

std::size_t WidthOf(int descriptor) {
  constexpr std::size_t kUsualWidth = 80;
  winsize size{};
  const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUsualWidth;
}

}  // namespace orvhost
