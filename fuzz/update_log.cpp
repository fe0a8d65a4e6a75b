// A text to look for on the first line and a log behind it, as ScanLog reads it. Each "#" of the log stands for 4090
// characters, so that short inputs reach the seams between the pieces in which a long line is read.
#include "firmware/update_log.h"

#include <sstream>
#include <vector>

#include "fuzz/property.h"

namespace {

std::string Expanded(const std::string& text) {
  std::string log;
  for (const char character : text) {
    log += character == '#' ? std::string(4090, 'x') : std::string(1, character);
  }
  return log;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [wanted, text] = fuzz::FirstLineAndRest(fuzz::Text(data, size));
  if (wanted.empty()) {
    return -1;
  }
  const std::string log = Expanded(text);
  std::istringstream stream(log);
  std::vector<std::string> lines;
  const bool found = kestrel::ScanLog(stream, wanted, [&lines](const std::string& line) { lines.push_back(line); });

  std::istringstream again(log);
  std::vector<std::string> expectedLines;
  bool expected = false;
  for (std::string line; std::getline(again, line);) {
    expected = expected || line.find(wanted) != std::string::npos;
    expectedLines.push_back(line.substr(0, kestrel::kLongestLogLine));
  }
  fuzz::Require(lines == expectedLines, "every line is handed on, up to its limit");
  fuzz::Require(found == expected, "the text is found when it is in some line");
  return 0;
}
