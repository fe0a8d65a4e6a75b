// All single faults, pairs by seed, and what is known of their findings.
#ifndef EXPLORE_SURVEY_H
#define EXPLORE_SURVEY_H

#include <cstdint>
#include <string>
#include <vector>

#include "explore/crowd.h"

namespace explore {

// Numbers that look as if they came by chance, from a seed.
class Chance {
 public:
  explicit Chance(std::uint64_t seed) : state_(seed) {}

  std::size_t Below(std::size_t limit);

 private:
  std::uint64_t state_;
};

inline constexpr int kRepeating = 1000;  // a road with more events repeats itself
inline constexpr int kSeenWhole = 200;   // of such a road so many are hit,
inline constexpr int kSeenThen = 97;     // and then each of that number

// That rule as a sentence.
[[nodiscard]] std::string Repeated();

// A road as it goes when nothing fails.
struct Course {
  const Road* road;
  Played played;
};

// Every road, or with a name that one, as scenarios without a fault.
[[nodiscard]] std::vector<Scenario> WithoutFaults(const std::string& road);

// Plays these roads in this process and keeps their events.
[[nodiscard]] std::vector<Course> Courses(const std::vector<Scenario>& roads, Disk& disk);

// Every fault at every event that it can hit, by the rule for roads that repeat themselves; with `every` above 1 only
// each n-th event of all roads.
[[nodiscard]] std::vector<Scenario> Singles(const std::vector<Course>& courses, int every);

// Plays them all; one that meets the same machine as another gets that one's result. `*same` counts those.
[[nodiscard]] std::vector<Result> PlayEach(const std::vector<Course>& courses, const std::vector<Scenario>& scenarios,
                                           int processes, int* same);

// Scenarios with two faults each, the same for the same seed. Where the first one ends the run, the second ends a later
// one too.
class Pairs {
 public:
  // `courses` must outlive this.
  Pairs(const std::vector<Course>& courses, std::uint64_t seed) : courses_(courses), chance_(seed) {}

  [[nodiscard]] std::vector<Scenario> Next(int count);

 private:
  [[nodiscard]] FaultKind AnyFaultFor(EventKind event);

  const std::vector<Course>& courses_;
  Chance chance_;
};

// What the roads are made of, as a number: other events, another number.
[[nodiscard]] std::string Fingerprint(const std::vector<Course>& courses);

}  // namespace explore

#endif  // EXPLORE_SURVEY_H
