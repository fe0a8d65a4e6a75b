// What became of every fault at every step, gathered from the single scenarios for the documents.
#ifndef EXPLORE_MATRIX_TABLES_H
#define EXPLORE_MATRIX_TABLES_H

#include <map>
#include <string>
#include <vector>

#include "explore/survey.h"

namespace explore {

// All that the documents are made of; it must outlive them.
struct Surveyed {
  int every;
  const std::vector<Course>& courses;
  const std::vector<Scenario>& scenarios;
  const std::vector<Result>& results;  // of each scenario
};

// What became of one fault at all the events of one step.
struct Cell {
  std::map<std::string, int> verdicts;
  bool touched = false;
  bool isDeadEnd = false;
  int worstSteps = 0;
  int moreSteps = 0;  // than the road takes without a fault
  Scenario worst;
};

using Row = std::map<std::string, Cell>;  // by the fault's name

struct Table {
  std::string road;
  std::string title;
  std::vector<std::string> steps;  // in the order of their first event
  std::map<std::string, Row> rows;
  std::vector<const FaultRow*> faults;  // those that hit anything in it
};

// In the order of the roads.
[[nodiscard]] std::vector<Table> TablesOf(const Surveyed& survey);

// The verdicts with their number, whether the flash was touched, and the number of the worst event.
[[nodiscard]] std::string Words(const Cell& cell);

// How far it is from there to the end that was wanted.
enum class Distance { kNone, kShort, kLong, kNowhere };
[[nodiscard]] Distance DistanceOf(const Cell& cell);

// A kind of finding, or a way of the plug-in's own, with the scenarios that show it.
struct Observed {
  std::string words;
  std::string verdict;  // of a way of the plug-in's own
  std::vector<std::string> replays;
  std::string way;  // the steps behind the first of them
};

// Every kind of finding: those that stay by their reason, the others as "Open: ...".
[[nodiscard]] std::vector<Observed> KindsOfFindings(const Surveyed& survey);

// How many are open, how many stay, and in how many kinds.
[[nodiscard]] std::string FindingTotals(const Surveyed& survey);

// What the plug-in does by itself and says nothing of, so that the tool has words of its own for it.
[[nodiscard]] std::vector<Observed> OwnWays(const Surveyed& survey);

// Which of the events were hit.
[[nodiscard]] std::string Extent(int every);

}  // namespace explore

#endif  // EXPLORE_MATRIX_TABLES_H
