#include "explore/faults.h"

#include <algorithm>
#include <array>

namespace explore {

namespace {

constexpr std::uint32_t Bit(EventKind kind) {
  return 1U << static_cast<unsigned>(kind);
}

constexpr std::uint32_t kRequests = Bit(EventKind::kRequest);
constexpr std::uint32_t kByHost =
    kRequests | Bit(EventKind::kProgram) | Bit(EventKind::kFlash) | Bit(EventKind::kQuestion);
constexpr std::uint32_t kOwn = Bit(EventKind::kSystem) | Bit(EventKind::kScript);
constexpr std::uint32_t kCommands = kByHost | kOwn;
constexpr std::uint32_t kWriting = Bit(EventKind::kFlash) | Bit(EventKind::kScript);
constexpr std::uint32_t kReads = Bit(EventKind::kRead);
constexpr std::uint32_t kStores = Bit(EventKind::kCreate) | Bit(EventKind::kWrite) | Bit(EventKind::kFolder);
constexpr std::uint32_t kTimes = kCommands | Bit(EventKind::kPause);
constexpr std::uint32_t kEvery = ~0U;

constexpr auto kFaults = std::to_array<FaultRow>({
    {FaultKind::kBusy, "busy", "the BMC is busy (c0)", kRequests},
    {FaultKind::kBusyForGood, "busy-for-good", "the BMC is busy for this command from here on", kRequests},
    {FaultKind::kOne, "code-01", "the BMC answers 01, which a lock takes for success", kRequests},
    {FaultKind::kWrongState, "wrong-state", "the BMC answers d5", kRequests},
    {FaultKind::kInvalidCommand, "invalid-command", "the BMC answers c1", kRequests},
    {FaultKind::kWrongLength, "wrong-length", "the BMC answers c7", kRequests},
    {FaultKind::kInvalidData, "invalid-data", "the BMC answers cc", kRequests},
    {FaultKind::kCannotAnswer, "cannot-answer", "the BMC answers ce", kRequests},
    {FaultKind::kUnspecified, "unspecified", "the BMC answers ff", kRequests},
    {FaultKind::kShort, "short", "the answer ends half-way", kRequests},
    {FaultKind::kLong, "long", "the answer has eight bytes too many", kRequests},
    {FaultKind::kGarbage, "garbage", "the IPMI tool prints words in the place of an answer", kRequests},
    {FaultKind::kThreeCharacters, "three-characters", "a word of the answer has three characters", kRequests},
    {FaultKind::kNothing, "nothing", "the IPMI tool prints nothing", kRequests},
    {FaultKind::kSilent, "silent", "the BMC gives no answer until the time limit", kRequests},
    {FaultKind::kSilentForGood, "silent-for-good", "the BMC gives no answer any more", kRequests},
    {FaultKind::kNotFound, "not-found", "the program is not found (127)", kCommands},
    {FaultKind::kNotExecutable, "not-executable", "the program is not executable (126)", kCommands},
    {FaultKind::kExitOne, "exit-1", "the command does nothing and ends with 1", kCommands},
    {FaultKind::kExitOneAfter, "exit-1-after", "the command does its work and ends with 1", kCommands},
    {FaultKind::kExitTwoAfter, "exit-2-after", "the command does its work and ends with 2", kCommands},
    {FaultKind::kSignal, "signal", "the command is ended by a signal before its work", kCommands},
    {FaultKind::kHangs, "hangs", "the command does nothing until the time limit", kByHost | Bit(EventKind::kScript)},
    {FaultKind::kOutputLost, "output-lost", "the command does its work, and its output is lost",
     kRequests | Bit(EventKind::kQuestion)},
    {FaultKind::kNoProcess, "no-process", "no process can be started", kCommands},
    {FaultKind::kMissing, "missing", "the file is missing", kReads},
    {FaultKind::kEmpty, "empty", "the file is empty", kReads},
    {FaultKind::kUnreadable, "unreadable", "the file cannot be read", kReads},
    {FaultKind::kDiskFull, "disk-full", "the disk is full", kStores},
    {FaultKind::kDiskFullForGood, "disk-full-for-good", "the disk is full from here on", kStores},
    {FaultKind::kHalfWritten, "half-written", "half is written, and then the disk is full", Bit(EventKind::kWrite)},
    {FaultKind::kSyncFails, "sync-fails", "what was written does not reach the disk", Bit(EventKind::kSync)},
    {FaultKind::kRenameFails, "rename-fails", "a file cannot be renamed", Bit(EventKind::kRename)},
    {FaultKind::kDeleteFails, "delete-fails", "a file cannot be deleted", Bit(EventKind::kDelete)},
    {FaultKind::kDeleteFailsForGood, "delete-fails-for-good", "a file cannot be deleted any more",
     Bit(EventKind::kDelete)},
    {FaultKind::kReadOnly, "read-only", "the file system is read-only",
     Bit(EventKind::kCreate) | Bit(EventKind::kFolder)},
    {FaultKind::kClockBack, "clock-back", "the clock steps back by an hour", kTimes},
    {FaultKind::kClockForward, "clock-forward", "the clock steps forward by a day", kTimes},
    {FaultKind::kKill, "kill", "the tool is killed just before", kEvery, true},
    {FaultKind::kKillDuring, "kill-during", "the tool is killed, and what it started goes on", kWriting, true},
    {FaultKind::kPower, "power", "the power is lost just before, and what has not reached the disk with it", kEvery,
     true},
    {FaultKind::kPowerDuring, "power-during", "the power is lost while the flash is written", kWriting, true},
});

}  // namespace

std::string_view NameOf(EventKind kind) {
  constexpr auto kNames =
      std::to_array<std::string_view>({"request", "program", "flash", "question", "system", "script", "pause", "read",
                                       "create", "write", "sync", "rename", "delete", "folder"});
  return kNames[static_cast<std::size_t>(kind)];
}

std::span<const FaultRow> AllFaults() {
  return kFaults;
}

const FaultRow& RowOf(FaultKind kind) {
  return *std::ranges::find(kFaults, kind, &FaultRow::kind);
}

bool CanHit(const FaultRow& fault, EventKind event) {
  return (fault.events & Bit(event)) != 0;
}

}  // namespace explore
