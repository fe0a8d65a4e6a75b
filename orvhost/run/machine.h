// The machine that a run is on: who may write its firmware, and where its runs are kept apart.
#ifndef ORVHOST_RUN_MACHINE_H
#define ORVHOST_RUN_MACHINE_H

#include <string>

namespace orvhost {

// A laboratory's machines may be updated by any user, and their BMC takes the placeholder of the write-mode phrase.
[[nodiscard]] bool IsLabMachine();

// Whether this process may write firmware: it is root's, or this is a laboratory's machine.
[[nodiscard]] bool MayWriteFirmware();

// Whether this process may talk to the BMC: it is root's, this is a laboratory's machine, or a device of the kernel's
// IPMI driver is open to it. True also where there is no such device, which is another complaint.
[[nodiscard]] bool MayTalkToTheBmc();

// What the machine calls itself on the network.
[[nodiscard]] std::string HostName();

// The folder of the lock that all runs of this machine share which may write firmware. It lies where root alone can
// make a folder, so that no other user can be there first. In a laboratory ORVHOST_LAB_LOCK_FOLDER may name another
// one; runs with different folders are then runs of different machines.
[[nodiscard]] std::string MachineFolder();
inline constexpr const char* kUsualMachineFolder = "/run/orvhost";

// A file of the machine's service manager, such as the socket of its journal. In a laboratory it lies below the folder
// that ORVHOST_LAB_SYSTEM names; "" where that names none, so that tests leave the machine alone that they run on.
[[nodiscard]] std::string SystemFile(const std::string& path);

// The variable's name.
inline constexpr const char* kLockFolderVariable = "ORVHOST_LAB_LOCK_FOLDER";

}  // namespace orvhost

#endif  // ORVHOST_RUN_MACHINE_H
