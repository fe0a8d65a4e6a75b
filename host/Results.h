// The values of this contract that a plug-in and its host must both know: what results mean, and what stands for
// something in a text or an argument. They stand here only; each says who answers it or who is given it. What a
// plug-in's own methods answer beyond them is the plug-in's.
#ifndef HOST_RESULTS_H
#define HOST_RESULTS_H

namespace host {

// Answered by every operation of CModuleManager, CFirmware and CVendor that answers a number, unless it says otherwise.
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;

// Answered by CFirmware::Update, and by CModuleManager::ExecuteUpdate and CVendor::ExecuteUpdate, which pass it on: the
// flash command ran into its time limit, and everything after it succeeded. No failure: the new firmware is most likely
// written, and it waits for being applied like after kSuccess.
inline constexpr int kUpdateTimedOut = 1024;

// Answered by CFirmware::UpdateApply alone, the other way round than by its siblings: the machine is going down, or the
// firmware could not be applied.
inline constexpr int kGoingDown = 1;
inline constexpr int kNotApplied = 0;

// Answered by CVendor::ExecVendorMethod when the method failed or has another name; kSuccess otherwise.
inline constexpr long kMethodFailed = -1;

// Answered by CVendor::ExecOutputDeviceConfigInfo: there is no report for this type of server. No failure, and no file.
inline constexpr int kNoReport = 2048;

// Answered by CModuleManager::GetOperatingVersion in the place of a version: the device could not be asked. The whole
// text is compared.
inline constexpr const char* kAbnormalVersion = "abnormal";

// The one kind of module that a device with a CFirmware has, as records name it and as a host passes it to the
// operations of CVendor.
inline constexpr const char* kFirmwareKind = "firmware";

// Answered by CCommon_Information::ExecForeignModule: the command ran to its end with any exit status; it could
// not be run or a signal ended it; it ran into its time limit.
inline constexpr int kCommandRan = 0;
inline constexpr int kCommandNotRun = 1;
inline constexpr int kCommandTimedOut = 255;

// Given to CCommon_Information::ExecForeignModule as the time limit of a command that has none.
inline constexpr unsigned long kNoTimeLimit = ~0UL;

// Given to CFileUtility::GetInstallPath: the folder of the installation itself, that of the management-server
// libraries.
inline constexpr int kInstallation = 0;
inline constexpr int kManagementLibraries = 4;

}  // namespace host

#endif  // HOST_RESULTS_H
