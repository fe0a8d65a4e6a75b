#include "explore/matrix_sections.h"

#include <algorithm>

namespace explore {

namespace {

std::string Code(const std::string& text) {
  return "`" + text + "`";
}

struct Total {
  int scenarios = 0;
  int succeeded = 0;
  int failed = 0;
  int cut = 0;
  int touched = 0;
  int deadEnds = 0;
  std::map<int, int> steps;

  void Add(const Result& result) {
    ++scenarios;
    succeeded += result.exitCode == 0 ? 1 : 0;
    cut += result.exitCode < 0 ? 1 : 0;
    failed += result.exitCode > 0 ? 1 : 0;
    touched += result.flashTouched ? 1 : 0;
    deadEnds += result.ends ? 0 : 1;
    ++steps[result.steps];
  }

  [[nodiscard]] std::vector<std::string> RowOf(const std::string& name) const {
    std::string taken;
    for (const auto& [number, count] : steps) {
      taken += (taken.empty() ? "" : ", ") + std::to_string(number) + ": " + std::to_string(count);
    }
    return {name,
            std::to_string(scenarios),
            std::to_string(succeeded),
            std::to_string(failed),
            std::to_string(cut),
            std::to_string(touched),
            std::to_string(deadEnds),
            taken};
  }
};

std::vector<std::string> HeadOfTotals(const std::string& first) {
  return {first,     "Scenarios",     "Succeeded", "Failed",
          "Cut off", "Flash touched", "Dead ends", "Steps that the operator took, and how often"};
}

Section Answer(const Surveyed& survey) {
  Total all;
  for (const Result& result : survey.results) {
    all.Add(result);
  }
  const int most = all.steps.empty() ? 0 : all.steps.rbegin()->first;
  return {
      "Can this leave a server unreachable?",
      {all.deadEnds == 0
           ? "By none of the single faults that are played here: each of the " + std::to_string(all.scenarios) +
                 " scenarios comes to the end that was wanted, where it writes with the new firmware at work in the "
                 "simulated BMC, after at most " +
                 std::to_string(most) + " steps of an operator who does nothing but what the tool names. In " +
                 std::to_string(all.touched) + " of them the flash had been touched."
           : "By some of these faults: " + std::to_string(all.deadEnds) + " of " + std::to_string(all.scenarios) +
                 " scenarios do not come to the end that was wanted; they are the dead ends below.",
       "The reason is the BMC's own: what is written goes to a slot that stands by, and is taken only when it is "
       "whole. What happens while the BMC itself changes over, and an image that is whole and does not start, is "
       "not played: see \"What is not covered\"."},
      {},
      {},
      {}};
}

Section Reading() {
  return {
      "How to read it",
      {},
      {R"(A road is a subcommand, or several in a row, on one kind of machine. Its name says which: the IPMI tool
(`ipmitool`, or the maker's `ipmicmd`), `rack` for the rack model, which a script updates, and `rack-300` with
300 sensor data records.)",
       R"(An event is what the tool does to its surroundings there: a BMC command, another command, a pause, a file that
is opened, written, brought to the disk (sync), renamed or deleted. Events have numbers; those that do the same
make a step, which is a row.)",
       R"(A fault is a column. It hits one event of the road. One that lasts (`for-good`) does so until the operator
begins to recover.)",
       R"(A scenario is a road with a fault at an event, such as `update-ipmitool 41:disk-full`. `./dev explore --replay
TEXT` with that in quotes shows it, event by event.)",
       R"(A cell has the verdicts of the runs that were hit, with how many there were. `*`: the flash was touched. The
number at its end is that of the worst event: the road, that number, a colon and the column's name make the text
that replays it.)",
       R"(Cut off: the run was killed or lost its power there, and has no verdict. It failed: its exit code is not 0; it
says so, and what to do.)",
       R"(Steps: what the operator runs until the end that was wanted, by the tool's `next_step` and by `diagnose`; behind
an update that went well these are `apply` and `verify`.)",
       R"(A dead end: no step is named that leads to that end.)"},
      {},
      {}};
}

Section ByRoad(const Surveyed& survey) {
  std::map<std::string, Total> byRoad;
  Total all;
  for (std::size_t at = 0; at < survey.scenarios.size(); ++at) {
    all.Add(survey.results[at]);
    byRoad[survey.scenarios[at].road].Add(survey.results[at]);
  }
  Section section{"By road", {Extent(survey.every)}, {}, HeadOfTotals("Road"), {}};
  for (const Course& course : survey.courses) {
    const std::string name(course.road->name);
    section.rows.push_back(byRoad[name].RowOf(Code(name)));
  }
  section.rows.push_back(all.RowOf("all"));
  return section;
}

Section ByFault(const Surveyed& survey) {
  std::map<FaultKind, Total> byFault;
  for (std::size_t at = 0; at < survey.scenarios.size(); ++at) {
    byFault[survey.scenarios[at].faults.front().kind].Add(survey.results[at]);
  }
  Section section{"By fault", {}, {}, HeadOfTotals("Fault"), {}};
  for (const FaultRow& fault : AllFaults()) {
    section.rows.push_back(byFault[fault.kind].RowOf(Code(std::string(fault.name)) + ": " + std::string(fault.words)));
  }
  return section;
}

Section Findings(const Surveyed& survey) {
  Section section{"Findings",
                  {FindingTotals(survey),
                   "What breaks a rule of the simulation, or does not lead to the end that was wanted within " +
                       std::to_string(kMostSteps) + " steps. Those that stay say why; the others are open."},
                  {},
                  {"Finding", "Scenarios", "For example"},
                  {}};
  for (const Observed& kind : KindsOfFindings(survey)) {
    section.rows.push_back({kind.words, std::to_string(kind.replays.size()), Code(kind.replays.front())});
  }
  return section;
}

Section WaysOfItsOwn(const Surveyed& survey) {
  Section section{"Ways of the plug-in's own",
                  {"What it does by itself, what the tool calls it, and what the tool's next steps lead to."},
                  {},
                  {"What the plug-in answers", "Verdict", "Scenarios", "Steps", "For example"},
                  {}};
  for (const Observed& kind : OwnWays(survey)) {
    section.rows.push_back(
        {kind.words, Code(kind.verdict), std::to_string(kind.replays.size()), kind.way, Code(kind.replays.front())});
  }
  return section;
}

Section NotCovered() {
  return {
      "What is not covered",
      {},
      {R"(The BMC's own changeover: it takes the firmware at once, and an image that starts is whole. A loss of power in
the middle of that, and an image that is whole and does not start, are not played: what a BMC does then is its
own, and nobody has published it.)",
       R"(A BMC that says what is not so: that a flash is done which is not. No tool can tell.)",
       R"(More than one fault: `./dev explore --pairs 1000 --seed 7` plays such, also a tool that is killed or a power that
is lost once more while the operator recovers; they are too many for a table.)",
       R"(Faults that outlast the run: the machine is as good as new by then. So no dead end can come from a part that
stays broken; what the tool names for one is shown by its own tests.)",
       R"(Answers that are cut short, too long, empty or other words: what the plug-in takes for the BMC's own answer
there is not held against the truth, since nothing could tell it.)",
       R"(The flash is cut off after a third of the image, and not at each of its bytes: the BMC drops all of it alike.)",
       R"(Hanging commands of the plug-in's own (`shutdown`, `rm -f`, `touch`), which have no time limit: somebody ends
the tool then, which is a kill. Reads that fail in the middle of a file, and locks that fail.)",
       R"(Signals that ask the tool to end, and standard streams that cannot be written: the tool's own tests play them.)",
       R"(What bounds the memory and the time of the process that unpacks a package: it is done in the simulation's own.)",
       Repeated()},
      {},
      {}};
}

}  // namespace

std::vector<Section> SectionsOf(const Surveyed& survey) {
  return {Answer(survey),       Reading(),   ByRoad(survey), ByFault(survey), Findings(survey),
          WaysOfItsOwn(survey), NotCovered()};
}

}  // namespace explore
