// How one run of a subcommand ended: the one value from which the exit code, the text for people and the JSON object
// are made.
#ifndef ORVHOST_INTERFACE_OUTCOME_H
#define ORVHOST_INTERFACE_OUTCOME_H

#include <optional>
#include <string>
#include <string_view>
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
  kInterrupted = 11,        // asked to end, and ended before the flash was touched
  kNotDelivered = 12,       // done, but the result could not be written
};

// What the plug-in's trace tells about a failure.
struct Evidence {
  std::string command;                   // command line that failed, otherwise the last one that was run
  std::string completionCode;            // last one that the BMC gave with a failure
  std::vector<std::string> records;      // the plug-in's records for operators, oldest first
  std::vector<std::string> trace;        // the last error lines, oldest first
  std::vector<std::string> errorOutput;  // the last lines that the command wrote to the standard error
};

struct Failure {
  std::string cause;     // one sentence
  Evidence evidence;     // may be empty
  std::string nextStep;  // the next safe step
};

// One thing that a run found out.
struct Fact {
  std::string key;   // for programs, which rely on it: lower case words with "_" between them
  std::string name;  // for people
  std::string value;
};

// The key for a name that this program does not choose: "Serial Number" gives "serial_number".
[[nodiscard]] std::string FactKey(std::string_view name);

// A list that only some subcommands have: one entry for each thing listed, with names and values in their order.
struct Listing {
  std::string name;  // member of the JSON object; "" for no list
  std::vector<std::vector<std::pair<std::string, std::string>>> entries;
};

struct Outcome {
  ExitCode exitCode = ExitCode::kOk;
  std::string command;             // the subcommand
  std::string commandLine;         // as it is to be typed to run the same again; for people only
  std::string repeatedOptions;     // that the next command needs too; begins with a blank, or is ""
  std::string runId;               // "" for a run that is not kept apart from others
  std::string phase;               // step that the run ended in
  std::string verdict;             // one word for programs, e.g. "updated"
  std::string summary;             // one or more sentences for people; of a failure, its cause stands in `failure`
  std::vector<std::string> lines;  // below the summary, each of them a line of its own
  bool changed = false;
  bool flashTouched = false;
  std::string before;                // version that ran before, "" when unknown
  std::string after;                 // version that the run leaves (see needsApply), "" when unknown
  std::optional<bool> needsApply;    // "apply" comes next; nothing when the run does not know
  std::vector<Fact> facts;           // in the order of telling
  Listing listing;                   // for programs; people read it in `lines`
  std::vector<std::string> notices;  // sentences about what the operator should know beside the result
  std::optional<Failure> failure;
};

// One JSON object on one line, with its line end. Bytes that are not UTF-8 are replaced.
[[nodiscard]] std::string ToJson(const Outcome& outcome);

// Lines for people about a success. Here and in the next all that comes from outside is made printable.
[[nodiscard]] std::string ToText(const Outcome& outcome);

// Lines for people about a failure: cause, evidence, whether the flash was touched, next safe step.
[[nodiscard]] std::string ToErrorText(const Outcome& outcome);

// Lines for people about a result that the standard output did not take, for that reason.
[[nodiscard]] std::string ToUndeliveredText(const Outcome& outcome, const std::string& reason);

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_OUTCOME_H
