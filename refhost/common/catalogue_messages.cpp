// The catalogue's messages: texts for operators and nothing else.
#include <array>

#include "refhost/catalogue.h"

namespace refhost {

namespace {

constexpr auto kMessages = std::to_array<Message>({
    {"MSGID_BMC_0001_F", 1, "No IPMI tool is installed, so the BMC cannot be reached (%1).",
     "The plug-in found neither the maker's ipmicmd nor /usr/bin/ipmitool. Nothing was sent to the BMC.",
     "Install the package ipmitool, then run the same command again."},
    {"MSGID_BMC_0002_F", 1, "The firmware handler for the BMC could not be created (%1).",
     "The plug-in is loaded but cannot work with the BMC, usually because memory is short. Nothing was sent to the "
     "BMC.",
     "Look for a shortage of memory in the system's log, then run the same command again."},
    {"MSGID_BMC_0003_F", 1, "The BMC did not take the reboot flag, so the new firmware was not activated (%1).",
     "The written firmware stays in place and waits. The BMC goes on running the old one, also after a reboot.",
     "Run \"orvhost apply\" again. If it is refused again, the image in the BMC may not be whole: keep the "
     "machine powered and run \"orvhost update PACKAGE\" again."},
    {"MSGID_BMC_0004_F", 1, "The machine could not be shut down to activate the new firmware (%1).",
     "The machine is still up, so the BMC has not changed its firmware.",
     "Repair what the detail code names. With 19 the BMC is ready, so shut the machine down by hand (shutdown -h now). "
     "Run \"orvhost verify\" when it is up again."},
    {"MSGID_BMC_0008_F", 1, "A firmware version is not in the form that can be compared (%1).",
     "The two versions count as equal, so nobody can tell which one is newer. The flash was not touched.",
     "Compare the package's version with the running one by eye, and get a package whose description is right."},
    {"MSGID_BMC_0009_F", 1, "A step of the update failed on this machine, outside the BMC (%1).",
     "With 0F, 10, 24 or 2A alone nothing was written in this attempt. With 17 after a flash run, the firmware may be "
     "written although the update counts as failed.",
     "Repair what the detail code names, keep the machine powered, and run the same command again."},
    {"MSGID_BMC_0011_F", 1, "The update was stopped because the BMC does not report its firmware version (%1).",
     "The BMC did not answer three times before anything was written. The flash was not touched.",
     "Wait a minute in case the BMC is restarting, check with \"orvhost identify\", then run \"orvhost update "
     "PACKAGE\" "
     "again."},
    {"MSGID_BMC_0012_F", 1, "The BMC did not carry out a command that the update needs (%1).",
     "The BMC refused or did not complete a step in front of a flash run. The flash was not touched in this attempt, "
     "but codes 16 or 1E in the detail are of earlier runs that had begun.",
     "Keep the machine powered and run the same command again. If it is refused again, restart the BMC."},
    {"MSGID_BMC_0013_F", 1, "The flash tool did not succeed in writing the firmware (%1).",
     "Three runs of the flash tool failed after writing had begun. The firmware that ran before still runs.",
     "Keep the machine powered, do not reboot it, and run the same command again."},
    {"MSGID_BMC_0014_F", 1,
     "The update could not be checked because the BMC does not report its firmware version (%1).",
     "Which firmware runs is unknown. This check itself writes nothing.",
     "Wait a minute in case the BMC is restarting, then run \"orvhost verify\" again."},
    {"MSGID_BMC_0015_F", 2, "The BMC runs firmware version %1, but version %2 was installed.",
     "The new firmware was not activated, or the package's image holds another version than its description states.",
     "If \"orvhost apply\" was left out, run it. Otherwise update again, and compare the package's image with its "
     "description."},
    {"MSGID_BMC_0016_F", 1, "The update cannot be started (%1).",
     "The plug-in has no way to the BMC. The flash was not touched.",
     "Install the package ipmitool, then run the same command again."},
    {"MSGID_BMC_0018_F", 1, "The device configuration report could not be made (%1).",
     "No report of this run is there. A report changes nothing on the device.",
     "Repair what the detail code and the error lines beside it name, then run the same command again."},
    {"MSGID_BMC_0019_F", 1, "The device configuration report cannot be started (%1).",
     "The BMC did not answer three times, so there is nothing to report. Nothing was changed.",
     "Wait a minute in case the BMC is restarting, check with \"orvhost identify\", then run \"orvhost report\" "
     "again."},
    {"MSGID_BMC_0020_F", 1, "The update package does not hold what the update needs (%1).",
     "The archive could be unpacked, but it is for another kind of server or not an update of the BMC. The flash was "
     "not touched.",
     "Get the package that is made for this server."},
    {"MSGID_BMC_0021_F", 1, "The information could not be sent to the service processor (%1).",
     "A step of the transfer failed three times. The service processor keeps what it knew before.",
     "Run \"orvhost notify\" again. If it is refused again, restart the BMC."},
    {"MSGID_BMC_0022_F", 1, "The operating system's information could not be gathered (%1).",
     "The host name could not be read, so no record was sent. The service processor keeps what it knew before.",
     "Set the machine's host name, then run \"orvhost notify\" again."},
    {"MSGID_BMC_0023_F", 1, "The disk information could not be gathered (%1).",
     "There is no management library, or what it reports is malformed. The service processor keeps what it knew "
     "before.",
     "Install the management library in INSTALL_PATH/MngSrv, then run \"orvhost notify\" again."},
    {"MSGID_BMC_0024_F", 0, "The disk information could not be gathered: the management library reports error 02.",
     "The library was asked and refused with its error 02. The service processor keeps what it knew before.",
     "Look up error 02 in the management library's own documentation, then run \"orvhost notify\" again."},
    {"MSGID_BMC_0025_F", 0, "The disk information could not be gathered: the management library reports error 01.",
     "The library was asked and refused with its error 01. The service processor keeps what it knew before.",
     "Look up error 01 in the management library's own documentation, then run \"orvhost notify\" again."},
    {"MSGID_BMC_0026_F", 1, "The disk information could not be gathered: the management library failed (%1).",
     "The library could not be used, or it gave an error other than 01 and 02. The service processor keeps what it "
     "knew before.",
     "Look at the error lines beside this record, repair the library, then run \"orvhost notify\" again."},
    {"MSGID_BMC_0027_F", 1, "The update script did not write the firmware and sensor records successfully (%1).",
     "The script was started, so writing may have begun. The detail code says which of the two parts is missing.",
     "Keep the machine powered, do not reboot it, and run the same command again."},
});

}  // namespace

std::span<const Message> AllMessages() {
  return kMessages;
}

}  // namespace refhost
