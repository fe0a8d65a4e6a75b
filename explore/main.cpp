// kestrel_explore: every fault at every step of every road, on a simulated machine.
#include <dlfcn.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "explore/matrix.h"
#include "explore/outside.h"
#include "explore/player.h"
#include "explore/prove.h"
#include "explore/replay.h"
#include "explore/survey.h"
#include "explore/tally.h"

namespace explore {

namespace {

struct Wishes {
  std::string road;
  std::string replay;
  std::string minimize;
  std::string matrix;
  int pairs = 0;
  int every = 1;
  int jobs = 2;
  int lives = 0;
  int patienceMs = kUsualPatienceMs;
  std::uint64_t seed = 1;
  bool prove = false;
  bool list = false;
};

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

// Of the largest process up to now.
void PrintMemory(std::size_t scenarios) {
  long most = 0;
  for (const int whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage{};
    getrusage(whose, &usage);
    most = std::max(most, usage.ru_maxrss);
  }
  Print("memory after " + std::to_string(scenarios) + " scenarios: " + std::to_string(most / 1024) + " MB at most\n");
}

// A thousand at a time, so that no more is kept in memory.
bool PlayPairs(const Wishes& wishes, const std::vector<Course>& courses, Tally* tally) {
  constexpr int kAtOnce = 1000;
  Pairs pairs(courses, wishes.seed);
  for (int done = 0; done < wishes.pairs;) {
    const auto scenarios = pairs.Next(std::min(kAtOnce, wishes.pairs - done));
    tally->Add(scenarios, PlayAll(scenarios, wishes.jobs));
    const bool isFirst = done == 0;
    done += static_cast<int>(scenarios.size());
    if (isFirst || done == wishes.pairs) {
      PrintMemory(static_cast<std::size_t>(done));
    }
  }
  return true;
}

bool PlaySingles(const Wishes& wishes, const std::vector<Course>& courses, Tally* tally) {
  const auto scenarios = Singles(courses, wishes.every);
  if (scenarios.empty()) {
    Print("No road has " + std::to_string(wishes.every) + " events.\n");
    return false;
  }
  int same = 0;
  const auto results = PlayEach(courses, scenarios, wishes.jobs, &same);
  tally->Add(scenarios, results);
  Print(std::to_string(same) + " scenarios meet the same machine as another one, and were not played again\n");
  std::string error;
  if (!wishes.matrix.empty() && !WriteMatrix(wishes.matrix, wishes.every, courses, scenarios, results, &error)) {
    Print("The matrix cannot be written: " + error + "\n");
    return false;
  }
  return true;
}

// The roads themselves, each in a player first: what hangs there must not hang this process.
bool GoWell(const std::vector<Scenario>& roads, int jobs) {
  Tally tally;
  tally.Add(roads, PlayAll(roads, jobs));
  return tally.ExitCode() == 0;
}

int Survey(const Wishes& wishes, Disk& disk) {
  const auto start = std::chrono::steady_clock::now();
  const auto roads = WithoutFaults(wishes.road);
  if (roads.empty()) {
    Print("There is no road \"" + wishes.road + "\"; \"--list\" shows all.\n");
    return kExitUsage;
  }
  if (!GoWell(roads, wishes.jobs)) {
    return kExitFindings;
  }
  const auto courses = Courses(roads, disk);
  Tally tally;
  if (!(wishes.pairs > 0 ? PlayPairs : PlaySingles)(wishes, courses, &tally)) {
    return kExitUsage;
  }
  tally.PrintSum(courses.size(), Seconds(start));
  return tally.ExitCode();
}

// How fast whole lives are, for the figures.
int Measure(int lives, Disk& disk) {
  const auto start = std::chrono::steady_clock::now();
  const double before = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
  for (int life = 0; life < lives; ++life) {
    TheStage().Begin({}, false);
    Life one(FindRoad("life-ipmitool")->machine, disk);
    for (const char* words : {"update PACKAGE", "apply --yes", "verify"}) {
      if (one.Run(words).exitCode != 0) {
        Print("A life did not go well: " + std::string(words) + ".\n");
        return kExitFindings;
      }
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
    return Replay(wishes.replay);
  }
  if (!wishes.minimize.empty()) {
    return Minimize(wishes.minimize);
  }
  if (wishes.prove) {
    return Prove(disk) ? 0 : kExitFindings;
  }
  if (wishes.lives > 0) {
    return Measure(wishes.lives, disk);
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

// A number is taken as it is written, and none is cut down to what there is room for.
CLI::Validator From(std::uint64_t least, std::uint64_t most) {
  return {[least, most](const std::string& text) {
            std::uint64_t number = 0;
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
            const bool isOne = error == std::errc() && end == text.data() + text.size();
            return isOne && number >= least && number <= most
                       ? ""
                       : "\"" + text + "\" is no number from " + std::to_string(least) + " to " + std::to_string(most);
          },
          "NUMBER"};
}

CLI::Validator NotEmpty() {
  return {[](const std::string& text) { return text.empty() ? "the text is empty" : ""; }, ""};
}

void AddOptions(Wishes* wishes, CLI::App* app) {
  constexpr int kMost = 1'000'000'000;
  constexpr int kMostJobs = 1000;
  app->add_option("--road", wishes->road, "Only this road")->type_name("ROAD")->check(NotEmpty());
  app->add_option("--every", wishes->every, "Only each n-th event")->check(From(1, kMost));
  app->add_option("--seed", wishes->seed, "Which pairs")->check(From(0, ~0ULL));
  app->add_option("--jobs", wishes->jobs, "Processes at once")->check(From(1, kMostJobs));
  app->add_option("--patience", wishes->patienceMs, "Milliseconds in which a scenario ends, or it hangs for real")
      ->type_name("MS")
      ->check(From(1, kMost))
      ->capture_default_str();
  // One of these; without any, every single fault is played.
  const std::vector<CLI::Option*> ways = {
      app->add_option("--pairs", wishes->pairs, "This many scenarios with two faults")->check(From(1, kMost)),
      app->add_option("--replay", wishes->replay, "Shows one scenario as a story")
          ->type_name("TEXT")
          ->check(NotEmpty()),
      app->add_option("--minimize", wishes->minimize, "Leaves out the faults that a finding does not need")
          ->type_name("TEXT")
          ->check(NotEmpty()),
      app->add_option("--matrix", wishes->matrix, "Writes fault-matrix.md and .html there")
          ->type_name("DIR")
          ->check(CLI::ExistingDirectory)
          ->excludes("--road"),
      app->add_option("--lives", wishes->lives, "Measures this many whole lives")->check(From(1, kMost)),
      app->add_flag("--prove", wishes->prove, "Breaks something for each oracle, which must see it"),
      app->add_flag("--list", wishes->list, "Lists roads and faults")};
  for (CLI::Option* one : ways) {
    for (CLI::Option* other : ways) {
      if (one != other) {
        one->excludes(other);
      }
    }
  }
}

// What the tool would take from the surroundings could name folders of the real machine.
void ForgetSurroundings() {
  std::vector<std::string> names;
  for (char** one = environ; *one != nullptr; ++one) {
    const std::string_view entry(*one);
    if (entry.starts_with("ORVHOST_")) {
      names.emplace_back(entry.substr(0, entry.find('=')));
    }
  }
  for (const std::string& name : names) {
    unsetenv(name.c_str());
  }
}

// Beyond those of the tool, one for each player that it listens to.
bool MakeRoomForDescriptors(int jobs) {
  constexpr rlim_t kOfTheTool = 256;
  const rlim_t needed = kOfTheTool + static_cast<rlim_t>(jobs);
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur >= needed) {
    return true;
  }
  limit.rlim_cur = std::min(needed, limit.rlim_max);
  if (limit.rlim_cur == needed && setrlimit(RLIMIT_NOFILE, &limit) == 0) {
    return true;
  }
  Print("This process may have " + std::to_string(limit.rlim_max) + " open files and needs " + std::to_string(needed) +
        " (ulimit -n).\n");
  return false;
}

int Main(int argc, char** argv) {
  StartWithRoom(argv);
  Wishes wishes;
  CLI::App app("Plays every fault at every step of the tool's roads on a simulated machine.", "kestrel_explore");
  AddOptions(&wishes, &app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitUsage;
  }
  ForgetSurroundings();
  setenv("ORVHOST_LAB_MACHINE", "1", 1);
  setenv("TZ", "UTC", 1);
  SetPatience(std::chrono::milliseconds(wishes.patienceMs));
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
  if (!MakeRoomForDescriptors(wishes.jobs)) {
    return kExitUsage;
  }
  TakeStandardStreams();
  (void)CloseWhatIsOpen();  // what this process was given
  const int answer = Do(wishes, disk);
  return OutputIsLost() ? kExitUsage : answer;
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
