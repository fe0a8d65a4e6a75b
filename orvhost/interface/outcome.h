// How one run of a subcommand ended: the one value from which the exit code, the text for people and the JSON object
// are made.
#ifndef ORVHOST_INTERFACE_OUTCOME_H
#define ORVHOST_INTERFACE_OUTCOME_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvhost {

// Exit codes; scripts depend on them.
enum class ExitCode : int {
  kOk = 0,                  // done, or nothing to do
  kUnexpected = 1,          // an error of this program
  kUsage = 2,               // bad command line, or a confirmation is missing
  kPluginUnusable = 3,      // the plug-in could not be loaded, or fails a check of its validation
  kPrerequisites = 4,       // something that the update needs is missing on this machine
  kPackageUnusable = 5,     // the package cannot be read
  kDoesNotFit = 6,          // the package is not for this machine
  kFailedUntouched = 7,     // failed; this run did not touch the flash
  kFailedFlashBegun = 8,    // failed after writing the flash had begun
  kVersionNotExpected = 9,  // the device runs another version than the one that was installed
  kBusy = 10,               // another run is at work
};

// What the plug-in's trace tells about a failure.
struct Evidence {
  std::string command;               // last command line that was run
  std::string completionCode;        // last one that the BMC gave with a failure
  std::vector<std::string> records;  // the plug-in's records for operators, oldest first
  std::vector<std::string> trace;    // the last error lines, oldest first
};

struct Failure {
  std::string cause;     // one sentence
  Evidence evidence;     // may be empty
  std::string nextStep;  // the next safe step
};

// A list that only some subcommands have: one entry for each thing told, with names and values in the order of telling.
struct Listing {
  std::string name;  // member of the JSON object; "" for no list
  std::vector<std::vector<std::pair<std::string, std::string>>> entries;
};

struct Outcome {
  ExitCode exitCode = ExitCode::kOk;
  std::string command;  // the subcommand
  std::string runId;    // "" for a run that is not told apart from others
  std::string phase;    // step that the run ended in
  std::string verdict;  // one word for programs, e.g. "updated"
  std::string summary;  // one or more sentences for people; of a failure, its cause stands in `failure`
  bool changed = false;
  bool flashTouched = false;
  std::string before;  // version that ran before, "" when unknown
  std::string after;   // version that the run leaves behind (it may need apply), "" when unknown
  std::vector<std::pair<std::string, std::string>> facts;  // name and value, in the order of telling
  Listing listing;                                         // for programs; people get it told in `summary`
  std::vector<std::string> notices;  // sentences about what the operator should know beside the result
  std::optional<Failure> failure;
};

// One JSON object on one line, with its line end. Bytes that are not UTF-8 are replaced.
[[nodiscard]] std::string ToJson(const Outcome& outcome);

// Lines for people about a success.
[[nodiscard]] std::string ToText(const Outcome& outcome);

// Lines for people about a failure: cause, evidence, whether the flash was touched, next safe step.
[[nodiscard]] std::string ToErrorText(const Outcome& outcome);

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_OUTCOME_H
