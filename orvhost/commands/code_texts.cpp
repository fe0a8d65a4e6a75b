// What the exit codes of orvhost and the results of a plug-in's operations mean: texts for operators and nothing else.
#include <array>

#include "host/Results.h"
#include "orvhost/commands/explanations.h"

namespace orvhost {

namespace {

constexpr auto kExitCodes = std::to_array<NumberText>({
    {0, "Nothing failed.", "The run did what it was asked for, or there was nothing to do.",
     "Go on with what its text names as the next step."},
    {1, "An unexpected error ended the run.",
     "This is a fault of orvhost or of the plug-in. The flash was not touched.",
     "Run it again with --log-file, keep the log and report it."},
    {2,
     "The command line was not right, a confirmation, a folder or the log file was missing, or a key file is unusable.",
     "Nothing was begun and the flash was not touched.", "Correct the command as the message says; see --help."},
    {3, "The plug-in could not be loaded.",
     "Its file is missing or damaged, or it does not keep to the host's contract. The flash was not touched.",
     "Check the path that --plugin gives, then run \"orvhost validate\" on it."},
    {4, "Something that the run needs is missing on this machine.",
     "The message names it: an IPMI tool, the maker's flash tool, room on the disk, root's rights, the write-mode "
     "phrase. The flash was not touched.",
     "Install or start what is missing, then run the same command again."},
    {5, "The package cannot be used.",
     "The archive is damaged, takes too much to read, is no update package, does not hold what an update of this "
     "server needs or what it lists, or is not signed as this machine wants it. The flash was not touched.",
     "Get the package anew, with its signature."},
    {6, "The package, or the report, is not for this machine, or the package is not newer than what runs.",
     "The server type, the major version or the model differs; or the package is older than the running version, or "
     "counts as the same. The flash was not touched.",
     "Get the package that is made for this server. If an older version is what you want, write it with --allow-older; "
     "the same again with --allow-reinstall."},
    {7, "The run failed before anything was written.",
     "This run did not touch the flash; the firmware that ran before still runs.",
     "Do what the run gave as its next step (\"orvhost diagnose\" gives it again)."},
    {8, "The run failed after writing the flash had begun.",
     "The running firmware still runs, but what is written beside it may be incomplete.",
     "Keep the machine powered, do not reboot it, and run the same command again."},
    {9, "The BMC runs another version than the one that was installed.",
     "The new firmware was not activated, or the package's image is not what its description states.",
     "Run \"orvhost apply\" if it was left out (\"orvhost verify\" says so); otherwise update again."},
    {10, "Another run of orvhost is at work.", "Two runs must not meet at one BMC, so this one began nothing.",
     "Wait until the other run has ended, then run the same command again."},
    {11, "The run was asked to end by a signal, such as SIGTERM or the interrupt key's.",
     "It ended before the flash was touched; its text says what it leaves besides.",
     "Run the same command again when it may go on to its end."},
    {12, "The result could not be written to the standard output.",
     "The run succeeded, and what was done stays done; only its result is missing. The standard error says why.",
     "Run \"orvhost show last\" to see how the run ended. Do not repeat an update or an apply for that reason alone."},
});

constexpr auto kResults = std::to_array<NumberText>({
    {host::kSuccess, "Nothing failed.", "The operation succeeded, or there was nothing to do.", "Go on."},
    {host::kFailure, "The operation failed, or the host could not run a command.",
     "Of UpdateApply alone 1 means that the machine is going down.", "Look at the records and error lines beside it."},
    {host::kCommandTimedOut, "A command ran longer than its limit and was ended.",
     "The command's own work may be incomplete.",
     "Look at the error lines beside it. If it was the flash tool, keep the machine powered and do not reboot it."},
    {host::kUpdateTimedOut, "The flash command ran into its time limit, and everything after it succeeded.",
     "The firmware is most likely written, but nobody saw the tool's own result.",
     "Run \"orvhost apply\", and do not leave out \"orvhost verify\"."},
    {host::kNoReport, "There is no device configuration report for this machine.",
     "The server type is not one that the plug-in reports on. Nothing was changed.",
     "Check the server type with \"orvhost identify\"."},
});

}  // namespace

std::span<const NumberText> ExitCodeTexts() {
  return kExitCodes;
}

std::span<const NumberText> ResultTexts() {
  return kResults;
}

}  // namespace orvhost
