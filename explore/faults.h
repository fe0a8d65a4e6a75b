// What happens in a run, and what can go wrong there. Every event is of one kind, and every fault says which kinds of
// events it can hit. The names are those of a scenario's text.
#ifndef EXPLORE_FAULTS_H
#define EXPLORE_FAULTS_H

#include <cstdint>
#include <span>
#include <string_view>

namespace explore {

enum class EventKind : std::uint8_t {
  kRequest,   // a BMC command through an IPMI tool
  kProgram,   // another shell command that the host runs
  kFlash,     // the flash tool
  kQuestion,  // a shell command whose first line is wanted
  kSystem,    // a shell command of the plug-in's own
  kScript,    // the package's script
  kPause,
  kRead,    // a file is opened for reading
  kCreate,  // a file is opened for writing, or made
  kWrite,
  kSync,
  kRename,
  kDelete,
  kFolder,  // a folder is made
};

[[nodiscard]] std::string_view NameOf(EventKind kind);

enum class FaultKind : std::uint8_t {
  kNone,
  kBusy,
  kBusyForGood,
  kOne,
  kWrongState,
  kInvalidCommand,
  kWrongLength,
  kInvalidData,
  kCannotAnswer,
  kUnspecified,
  kShort,
  kLong,
  kGarbage,
  kThreeCharacters,
  kNothing,
  kSilent,
  kSilentForGood,
  kNotFound,
  kNotExecutable,
  kExitOne,
  kExitOneAfter,
  kExitTwoAfter,
  kSignal,
  kHangs,
  kOutputLost,
  kNoProcess,
  kMissing,
  kEmpty,
  kUnreadable,
  kDiskFull,
  kDiskFullForGood,
  kHalfWritten,
  kSyncFails,
  kRenameFails,
  kDeleteFails,
  kDeleteFailsForGood,
  kReadOnly,
  kClockBack,
  kClockForward,
  kKill,
  kKillDuring,
  kPower,
  kPowerDuring,
};

struct FaultRow {
  FaultKind kind;
  std::string_view name;
  std::string_view words;
  std::uint32_t events;  // a bit for each kind of event that it can hit
  bool endsRun = false;  // the tool ends there without an outcome
};

[[nodiscard]] std::span<const FaultRow> AllFaults();
[[nodiscard]] const FaultRow& RowOf(FaultKind kind);
[[nodiscard]] bool CanHit(const FaultRow& fault, EventKind event);

}  // namespace explore

#endif  // EXPLORE_FAULTS_H
