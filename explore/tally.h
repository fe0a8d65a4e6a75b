// What became of many scenarios: each new finding is printed as it comes, and all is summed up at the end.
#ifndef EXPLORE_TALLY_H
#define EXPLORE_TALLY_H

#include <map>
#include <string>
#include <vector>

#include "explore/crowd.h"

namespace explore {

class Tally {
 public:
  void Add(const std::vector<Scenario>& scenarios, const std::vector<Result>& results);
  void PrintSum(std::size_t roads, double seconds) const;

  // Of the program.
  [[nodiscard]] int ExitCode() const;

 private:
  void Take(const std::string& text, const Result& result, const std::string& finding, const std::string& why);

  std::map<std::string, int> known_;  // how often for which reason
  std::size_t scenarios_ = 0;
  int fresh_ = 0;
  int unmet_ = 0;
  unsigned long checksum_ = 0;
};

}  // namespace explore

#endif  // EXPLORE_TALLY_H
