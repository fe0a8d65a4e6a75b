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

// A road as it goes when nothing fails.
struct Course {
  const Road* road;
  Played played;
};

// Every road, or with a name that one, as scenarios without a fault.
[[nodiscard]] std::vector<Scenario> WithoutFaults(const std::string& road);

// Plays these roads in this process and keeps their events.
[[nodiscard]] std::vector<Course> Courses(const std::vector<Scenario>& roads, Disk& disk);

// Every fault at every event that it can hit. Of the road with 300 records, whose events repeat themselves, every 97th
// from the 200th on; with `every` above 1 only each n-th event of all roads.
[[nodiscard]] std::vector<Scenario> Singles(const std::vector<Course>& courses, int every);

// Plays them all; one that meets the same machine as another gets that one's result. `*same` counts those.
[[nodiscard]] std::vector<Result> PlayEach(const std::vector<Course>& courses, const std::vector<Scenario>& scenarios,
                                           int processes, int* same);

// Scenarios with two faults each, the same for the same seed. Only the second one ends the run: none comes behind that.
class Pairs {
 public:
  // `courses` must outlive this.
  Pairs(const std::vector<Course>& courses, std::uint64_t seed) : courses_(courses), chance_(seed) {}

  [[nodiscard]] std::vector<Scenario> Next(int count);

 private:
  [[nodiscard]] FaultKind AnyFaultFor(EventKind event, bool mayEndRun);

  const std::vector<Course>& courses_;
  Chance chance_;
};

// What the roads are made of, as a number: other events, another number.
[[nodiscard]] std::string Fingerprint(const std::vector<Course>& courses);

}  // namespace explore

#endif  // EXPLORE_SURVEY_H
