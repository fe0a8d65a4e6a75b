// kestrel_explore: every fault at every step of every road, on a simulated machine.
#include <dlfcn.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <map>

#include "explore/matrix.h"
#include "explore/outside.h"
#include "explore/prove.h"
#include "explore/survey.h"

namespace explore {

namespace {

struct Wishes {
  std::string road;
  std::string replay;
  std::string minimize;
  std::string matrix;
  std::string checkMatrix;
  int pairs = 0;
  int every = 1;
  int jobs = 2;
  int lives = 0;
  std::uint64_t seed = 1;
  bool prove = false;
  bool list = false;
};

constexpr int kExitFindings = 1;
constexpr int kExitUsage = 2;

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

void List() {
  for (const Road& road : AllRoads()) {
    Print("road " + std::string(road.name) + "\n");
  }
  for (const FaultRow& fault : AllFaults()) {
    Print("fault " + std::string(fault.name) + ": " + std::string(fault.words) + "\n");
  }
}

int Replay(const std::string& text, Disk& disk) {
  std::string error;
  const auto scenario = ParseScenario(text, &error);
  if (!scenario) {
    Print(error + "\n");
    return kExitUsage;
  }
  const Played played = Play(*scenario, disk, true);
  if (!played.complaints.empty()) {
    Print(played.complaints.front() + "\n");
    return kExitUsage;
  }
  for (const std::string& line : played.story) {
    Print(line + "\n");
  }
  Print("The faults end in: " + played.verdict +
        ". What the operator does then: " + (played.way.empty() ? "nothing" : played.way) + ".\n");
  for (const std::string& finding : played.findings) {
    Print("finding: " + finding + "\n");
  }
  return played.findings.empty() ? 0 : kExitFindings;
}

int Minimize(const std::string& text, Disk& disk) {
  std::string error;
  auto scenario = ParseScenario(text, &error);
  if (!scenario) {
    Print(error + "\n");
    return kExitUsage;
  }
  const auto fails = [&disk](const Scenario& one) { return !Play(one, disk, false).findings.empty(); };
  if (!fails(*scenario)) {
    Print("There is no finding in " + Text(*scenario) + ".\n");
    return kExitUsage;
  }
  for (std::size_t at = 0; at < scenario->faults.size();) {
    Scenario shorter = *scenario;
    shorter.faults.erase(shorter.faults.begin() + static_cast<std::ptrdiff_t>(at));
    if (fails(shorter)) {
      *scenario = shorter;
    } else {
      ++at;
    }
  }
  Print(Text(*scenario) + "\n");
  return 0;
}

// Prints what is new and counts what is known; the number of new ones.
int PrintFindings(const std::vector<Scenario>& scenarios, const std::vector<Result>& results) {
  std::map<std::string, int> known;
  int fresh = 0;
  for (std::size_t at = 0; at < scenarios.size(); ++at) {
    for (const std::string& finding : results[at].findings) {
      const std::string why = WhyKnown(scenarios[at], results[at], finding);
      if (!why.empty()) {
        ++known[why];
        continue;
      }
      ++fresh;
      Print(Text(scenarios[at]) + ": " + results[at].verdict + ": " + finding + "\n");
    }
  }
  for (const auto& [why, count] : known) {
    Print("known, " + std::to_string(count) + " times: " + why + "\n");
  }
  return fresh;
}

int Survey(const Wishes& wishes, Disk& disk) {
  const auto start = std::chrono::steady_clock::now();
  const auto courses = Courses(wishes.road, disk);
  if (courses.empty()) {
    Print("There is no road \"" + wishes.road + "\"; \"--list\" shows all.\n");
    return kExitUsage;
  }
  const auto scenarios = wishes.pairs > 0 ? Pairs(courses, wishes.pairs, wishes.seed) : Singles(courses, wishes.every);
  int same = 0;
  const auto results = PlayEach(courses, scenarios, wishes.jobs, &same);
  const int fresh = PrintFindings(scenarios, results);
  int unmet = 0;
  for (const Result& result : results) {
    unmet += result.unmet;
  }
  Print(std::to_string(scenarios.size()) + " scenarios on " + std::to_string(courses.size()) + " roads, " +
        std::to_string(fresh) + " findings, " + std::to_string(unmet) +
        " faults whose event did not come or changed\n");
  Print(std::to_string(same) + " of them meet the same machine as another one, and were not played again\n");
  if (wishes.pairs == 0 && !wishes.matrix.empty()) {
    WriteMatrix(wishes.matrix, wishes.every, courses, scenarios, results);
  }
  const double seconds = Seconds(start);
  std::array<char, 128> speed{};
  std::snprintf(speed.data(), speed.size(), "%.1f s, %.0f scenarios a second\n", seconds,
                static_cast<double>(scenarios.size()) / seconds);
  Print(speed.data());
  return fresh == 0 ? 0 : kExitFindings;
}

// How fast whole lives are, for the figures.
int Measure(int lives, Disk& disk) {
  const auto start = std::chrono::steady_clock::now();
  const double before = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
  for (int life = 0; life < lives; ++life) {
    TheStage().Begin({}, false);
    Life one(FindRoad("life-ipmitool")->machine, disk);
    for (const char* words : {"update PACKAGE", "apply --yes", "verify"}) {
      (void)one.Run(words);
      one.LetGoDown();
    }
  }
  std::array<char, 128> text{};
  const double busy = static_cast<double>(std::clock()) / CLOCKS_PER_SEC - before;
  std::snprintf(text.data(), text.size(), "%.0f whole lives a second in one process, %.0f a second of its core\n",
                lives / Seconds(start), lives / busy);
  Print(text.data());
  return 0;
}

int Do(const Wishes& wishes, Disk& disk) {
  if (wishes.list) {
    List();
    return 0;
  }
  if (!wishes.replay.empty()) {
    return Replay(wishes.replay, disk);
  }
  if (!wishes.minimize.empty()) {
    return Minimize(wishes.minimize, disk);
  }
  if (wishes.prove) {
    return Prove(disk) ? 0 : kExitFindings;
  }
  if (wishes.lives > 0) {
    return Measure(wishes.lives, disk);
  }
  if (!wishes.checkMatrix.empty()) {
    return IsCurrent(wishes.checkMatrix, Courses("", disk)) ? 0 : kExitFindings;
  }
  return Survey(wishes, disk);
}

// Memory is taken and given back much, in one thread: the C library reads only at a program's start how it keeps that.
void StartWithRoom(char** argv) {
  constexpr const char* kName = "GLIBC_TUNABLES";
  if (getenv(kName) == nullptr) {
    setenv(kName,
           "glibc.malloc.tcache_count=1000:glibc.malloc.trim_threshold=1000000000:"
           "glibc.malloc.mmap_threshold=1000000000:glibc.malloc.top_pad=16777216",
           1);
    execv("/proc/self/exe", argv);  // without it goes on as it is
  }
}

int Main(int argc, char** argv) {
  StartWithRoom(argv);
  Wishes wishes;
  CLI::App app("Plays every fault at every step of the tool's roads on a simulated machine.", "kestrel_explore");
  app.add_option("--road", wishes.road, "Only this road")->type_name("ROAD");
  app.add_option("--every", wishes.every, "Only each n-th event")->check(CLI::PositiveNumber);
  app.add_option("--pairs", wishes.pairs, "This many scenarios with two faults")->check(CLI::PositiveNumber);
  app.add_option("--seed", wishes.seed, "Which pairs");
  app.add_option("--jobs", wishes.jobs, "Processes at once")->check(CLI::PositiveNumber);
  app.add_option("--replay", wishes.replay, "Shows one scenario as a story")->type_name("TEXT");
  app.add_option("--minimize", wishes.minimize, "Leaves out the faults that a finding does not need")
      ->type_name("TEXT");
  app.add_option("--matrix", wishes.matrix, "Writes fault-matrix.md and .html there")->type_name("DIR");
  app.add_option("--check-matrix", wishes.checkMatrix, "Fails when fault-matrix.md there is not current")
      ->type_name("DIR");
  app.add_option("--lives", wishes.lives, "Measures this many whole lives")->check(CLI::PositiveNumber);
  app.add_flag("--prove", wishes.prove, "Breaks something for each oracle, which must see it");
  app.add_flag("--list", wishes.list, "Lists roads and faults");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitUsage;
  }
  setenv("ORVHOST_LAB_MACHINE", "1", 1);
  setenv("TZ", "UTC", 1);
  Outside& outside = TheOutside();
  outside.plugin = PLUGIN;
  outside.managementLibrary = MANAGEMENT_LIBRARY;
  // They stay loaded, so that a run of the tool finds them at once.
  for (const char* library : {PLUGIN, MANAGEMENT_LIBRARY}) {
    if (dlopen(library, RTLD_NOW | RTLD_LOCAL) == nullptr) {
      Print(std::string(dlerror()) + "\n");
      return kExitUsage;
    }
  }
  Disk disk;
  TakeStandardStreams();
  (void)CloseWhatIsOpen();  // what this process was given
  return Do(wishes, disk);
}

}  // namespace
}  // namespace explore

int main(int argc, char** argv) {
  try {
    return explore::Main(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "explore: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
