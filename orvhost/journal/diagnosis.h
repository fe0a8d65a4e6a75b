// What a run left behind, concluded from its journal, from the host's records and from what is known of the machine
// since. Pure: it asks nobody, and what the journal does not prove it calls unknown.
#ifndef ORVHOST_JOURNAL_DIAGNOSIS_H
#define ORVHOST_JOURNAL_DIAGNOSIS_H

#include <string>
#include <vector>

#include "orvhost/journal/recorded_run.h"
#include "refhost/module_state.h"

namespace orvhost {

struct Situation {
  RecordedRun run;
  bool isAtWork = false;             // the run goes on, or something that it started does
  bool machineWasRestarted = false;  // since the run began
  bool scriptsFlagIsSpent = false;   // see applied.h
  std::string verifiedAs;            // verdict of the last "verify" behind it; "" for none
  bool verifyWasCutOff = false;      // one behind it has no verdict; only the records tell what it found
  std::string unfinishedBefore;   // an earlier run that began to write the flash and that no run finished; "" for none
  std::string sameFailureBefore;  // an earlier run in which the same package failed in the same way; "" for none
  bool beforeIsUnknown = false;   // an earlier run may have, since its journal does not tell
  std::string overwrittenBy;      // another install path whose update was begun last on this machine; "" for none
  bool recordsAreReadable = true;
  refhost::ModuleState records;
};

// The next step while something is at work.
inline constexpr const char* kWaitForTheEnd =
    "Keep the machine powered and wait until what is at work has ended, then run \"orvhost diagnose\" again.";

struct Diagnosis {
  std::string verdict;  // one word for programs
  bool flashTouched = false;
  std::string flash;
  std::string bmc;     // what it has and runs
  std::string marker;  // of an update that waits for \"orvhost apply\"
  std::string unknown;
  std::string nextStep;  // the one that is safe
};

[[nodiscard]] Diagnosis Diagnose(const Situation& situation);

// True when the records say that the last update ended in the middle of writing, or cannot say how it ended.
[[nodiscard]] bool RecordsLeaveADoubt(const Situation& situation);

// The next step where the flash may be incomplete; `package` is "" when it is not known.
[[nodiscard]] std::string KeepPoweredAndUpdate(const std::string& package);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_DIAGNOSIS_H
