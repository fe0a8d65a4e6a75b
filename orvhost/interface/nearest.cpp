#include "orvhost/interface/nearest.h"

#include <algorithm>
#include <cstddef>

namespace orvhost {

namespace {

std::size_t Distance(std::string_view first, std::string_view second) {
  std::vector<std::vector<std::size_t>> steps(first.size() + 1, std::vector<std::size_t>(second.size() + 1));
  for (std::size_t i = 0; i <= first.size(); ++i) {
    for (std::size_t j = 0; j <= second.size(); ++j) {
      if (i == 0 || j == 0) {
        steps[i][j] = i + j;
        continue;
      }
      const bool isEqual = first[i - 1] == second[j - 1];
      steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + (isEqual ? 0 : 1)});
      if (i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1]) {
        steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
      }
    }
  }
  return steps[first.size()][second.size()];
}

}  // namespace

std::string Nearest(std::string_view typed, const std::vector<std::string>& words) {
  constexpr std::size_t kLongest = 64;  // of a word that somebody types
  std::string nearest;
  std::size_t least = std::min(typed.size(), kLongest) / 3 + 1;
  for (const std::string& word : words) {
    const std::size_t distance = typed.size() > kLongest ? least : Distance(typed, word);
    if (distance < least) {
      least = distance;
      nearest = word;
    }
  }
  return nearest;
}

}  // namespace orvhost
