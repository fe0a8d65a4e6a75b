// The lines of the plug-in's trace by which the tool knows what happened, and what each means: the one place of the
// tool that knows their wording. Each must stand in the plug-in's sources in these words; a test looks for all of them.
#ifndef ORVHOST_TRACE_PLUGIN_LINES_H
#define ORVHOST_TRACE_PLUGIN_LINES_H

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace orvhost::plugin_lines {

// A text of the plug-in and what it stands for, in words for people.
struct Wording {
  std::string_view text;
  std::string_view words;
};

// How a line begins.
namespace lines {

// The flash: its command line follows.
inline constexpr std::string_view kFlashToolStarts = "Execute:";

// A BMC command, and a shell command that has ended; both stand in brackets.
inline constexpr std::string_view kRequestStarts = "Execute command [";
inline constexpr std::string_view kCommandEnded = "Exec [";

// The update marker is deleted, which happens only when the BMC has confirmed its reboot flag.
inline constexpr std::string_view kMarkerDeleted = "Delete ";

// The machine goes down: it is halted, or, where no update waits, restarted.
inline constexpr std::string_view kMachineHalts = "shutdown -h";
inline constexpr std::string_view kMachineRestarts = "shutdown -r";

// A step or an attempt failed. Some of these have the level of progress or flow.
inline constexpr std::string_view kFailed = "Failed to";

// The answer to the question whether the package fits, with what the machine is.
inline constexpr std::string_view kFitAnswered = "Ver[";
inline constexpr std::string_view kVersionsDiffer = "OperatingVersion:";
inline constexpr std::string_view kNotCompared = "Failed to get Server Type";
inline constexpr std::string_view kSerialNumberUnusable = "Failed to get serial number [";

// A record for the service processor: sending it begins, is not supported, ends.
inline constexpr std::string_view kSendingOsStarts = "CBMC_KESTREL_Firmware::ExecSendOSInfo [START]";
inline constexpr std::string_view kSendingOsEnds = "CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]";
inline constexpr std::string_view kOsNotSupported = "Send OS Information not supported";
inline constexpr std::string_view kSendingDisksStarts = "CBMC_KESTREL_Firmware::ExecSendHddInfo [START]";
inline constexpr std::string_view kSendingDisksEnds = "CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]";
inline constexpr std::string_view kDisksNotSupported = "Send HDD Information not supported";
inline constexpr std::string_view kOsName = "osname=[";
inline constexpr std::string_view kNoCapability = "Get Capability Failed";

// The step at which sending failed. A longer text stands for itself, not for a shorter one that it begins with.
inline constexpr auto kSendFailures = std::to_array<Wording>({
    {"Failed to execute IPMI command(OEM Lock Server Config File)", "locking the file"},
    {"Failed to execute IPMI command(OEM Write Server Config File)", "writing the file"},
    {"Failed to execute IPMI command(OEM Write Server Config File [Signature])", "writing the file's signature"},
    {"Failed to execute IPMI command(OEM UnLock Server Config File)", "unlocking the file"},
    {"Failed to execute IPMI command(OEM Notify ORV Event)", "announcing the file"},
    {"Feiled to get hostname", "reading the host name"},
    {"Failed to createCBMC_MngLib.", "loading the management library"},
    {"GetHddInfoToSVP Error!", "asking the management library"},
    {"Invalid send data [", "checking what the management library gave"},
});
inline constexpr const Wording& kLockingFailed = kSendFailures.front();

// The flash tool has ended.
inline constexpr std::string_view kFlashToolEnded = "Yafuflash command return=";

// The update begins anew, and with it the count of the flash tool's runs; the next of the sensor records is read.
inline constexpr std::string_view kUpdateStarts = "CBMC_KESTREL_Firmware::Update() [START]";
inline constexpr std::string_view kNextSensorRecord = "Record Num [";

// A step begins.
inline constexpr auto kSteps = std::to_array<Wording>({
    {"CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor() [START]", "Starting the plug-in"},
    {"CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [START]", "Ending the plug-in"},
    {"CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo() [START]", "Looking for what the plug-in needs"},
    {"CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() [START]", "Checking whether the package fits"},
    {"CBMC_KESTREL_Vendor::GetExtendedInfo() [START]", "Reading the machine's serial number"},
    {"CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [START]", "Starting the report"},
    {"CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [START]", "Gathering the report"},
    {"CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", "Reading the BMC's firmware version"},
    {"CBMC_KESTREL_Firmware::PreUpdate() [START]", "Preparing the update"},
    {kUpdateStarts, "Preparing the update"},
    {"CBMC_KESTREL_Firmware::UpdateApplyCheck() [START]", "Comparing the running version with the installed one"},
    {"CBMC_KESTREL_Firmware::UpdateApply() [START]", "Putting the firmware into operation"},
    {kSendingOsStarts, "Sending the operating system's record"},
    {kSendingDisksStarts, "Sending the disks' record"},
    {"Compare Version", "Comparing the versions"},
    {kFlashToolEnded, "Finishing the update"},
    {kMarkerDeleted, "Taking the machine down"},
    {kMachineHalts, "Taking the machine down"},
    {kMachineRestarts, "Taking the machine down"},
});

}  // namespace lines

// What stands inside a line.
namespace parts {

// Behind an operation's result, and behind a command that has ended.
inline constexpr std::string_view kFitResult = "],iRet[";
inline constexpr std::string_view kCommandResult = "]. iret[";

// Of the answer whether the package fits, in this order.
inline constexpr std::string_view kMachineSerial = "],Serial[";
inline constexpr std::string_view kMachineModel = "],Model[";
inline constexpr std::string_view kPackageModel = "],Rep[";

// Of the versions that do not fit each other, in front of the package's.
inline constexpr std::string_view kOfferedVersion = ",UpdateVersion:";

// The BMC's answer to a request that failed: the word behind it, a colon or blank between.
inline constexpr std::string_view kCompletionCode = "CompletionCode";
inline constexpr std::string_view kResponseData = "ResponseData1";

// Behind an element of the BMC's answer, "17:0F", that tells its capabilities.
inline constexpr std::string_view kCapability = " SendInfoToSVP Support info";

}  // namespace parts

// What a shell command is made of. Each is found in the line about the command.
namespace commands {

// The flash tool: the end of its path.
inline constexpr std::string_view kFlashTool = "/Yafuflash";

// The package's script, which writes the flash, with its name and the answers that it reads.
inline constexpr std::string_view kScript = "/bmcup.sh";
inline constexpr std::string_view kScriptAnswers = " < ";

// What a request's bytes stand behind: for ipmitool, and for the maker's tool, whose command begins so.
inline constexpr std::string_view kIpmitoolRequest = " raw";
inline constexpr std::string_view kMakersToolRequest = "echo";

// Makes the script executable.
inline constexpr std::string_view kScriptPreparation = "chmod +x -R ";

// A command that begins so begins a step.
inline constexpr auto kSteps = std::to_array<Wording>({
    {"lsmod", "Loading the SCSI generic driver"},
    {"modprobe sg", "Loading the SCSI generic driver"},
    {kScriptPreparation, "Preparing the update script"},
});

}  // namespace commands

// A request to the BMC that begins with these bytes begins a step.
namespace requests {

inline constexpr auto kSteps = std::to_array<Wording>({
    {"06 01", "Reading the BMC's firmware version"},
    {"36 03", "Switching the BMC to write mode"},
    {"34 8c 55 aa 01", "Connecting the virtual media"},
    {"34 8d", "Connecting the virtual media"},
    {"34 8c 55 aa 00", "Disconnecting the virtual media"},
    {"34 2c", "Stopping the BMC's own waiting"},
    {"34 2d", "Stopping the BMC's own waiting"},
    {"34 5e", "Arming the BMC's reboot flag"},
    {"34 5f", "Arming the BMC's reboot flag"},
    {"0a 20", "Reading the sensor records' version"},
    {"0a 23", "Reading the sensor records' version"},
    {"3c 04", "Asking the BMC what it supports"},
});

// One that begins with these bytes begins what must not be left half-way: the flag would be armed and the marker kept,
// or the BMC's file would stay locked.
inline constexpr auto kNotLeftHalfWay = std::to_array<Wording>({
    {"34 5e", "the BMC is being given its reboot flag"},
    {"3c 6a", "a record is being sent to the service processor"},
});

// One that begins with these bytes changes the BMC before the flash is written; what it leaves then, in a sentence.
inline constexpr auto kChanges = std::to_array<Wording>({
    {"36 03", "The BMC may be in write mode."},
    {"34 8c 55 aa 01", "The BMC's virtual media may be connected."},
    {"34 2c", "The BMC's own waiting may be stopped."},
});

}  // namespace requests

// Records for operators that the tool takes as an answer, by their identifiers and detail codes.
namespace records {

inline constexpr std::string_view kVersionMalformed = "MSGID_BMC_0008_F";
inline constexpr std::string_view kRunningVersionMalformed = "09";
inline constexpr std::string_view kPackageVersionMalformed = "0A";

// Another version runs than the one that was installed; the detail is the running one.
inline constexpr std::string_view kOtherVersionRuns = "MSGID_BMC_0015_F";

inline constexpr std::string_view kReportFailed = "MSGID_BMC_0018_F";
inline constexpr std::string_view kReportNotWritten = "27";

}  // namespace records

// The words for the time in which the flash tool, or the package's script, writes the flash.
inline constexpr std::string_view kFlashToolWords = "Writing the firmware";
inline constexpr std::string_view kScriptWords = "Writing the firmware by its script";

// How long the plug-in lets one attempt to write the flash take, in milliseconds.
inline constexpr unsigned long kFlashTimeLimit = 900000;

// A line with which the plug-in starts to write the flash.
struct FlashStart {
  std::string_view command;  // part of the line
  bool isScript;             // by the package's script, not by the flash tool
};
[[nodiscard]] std::optional<FlashStart> FlashStartIn(std::string_view line);

// True for the shell command that is the package's script.
[[nodiscard]] bool RunsTheScript(std::string_view command);

// True for a shell command that writes the flash.
[[nodiscard]] bool WritesTheFlash(std::string_view command);

// The shell command in a line that tells of one that starts or has ended; nothing in any other line.
[[nodiscard]] std::optional<std::string_view> CommandIn(std::string_view line);

// True for a line with which the machine goes down.
[[nodiscard]] bool IsGoingDown(std::string_view line);

// True for a line about a step or an attempt that failed.
[[nodiscard]] bool IsFailure(int level, std::string_view line);

}  // namespace orvhost::plugin_lines

#endif  // ORVHOST_TRACE_PLUGIN_LINES_H
