// Decides before an update whether a package is meant for this machine and what the machine lacks for an update. It
// compares no versions beyond what tells two kinds of machine apart.
#ifndef PROVIDER_UPDATE_CONDITIONS_H
#define PROVIDER_UPDATE_CONDITIONS_H

#include <list>
#include <string>

#include "host/ProviderBase.h"

namespace kestrel {

// Model text of the machine with this serial number of at least 14 characters, as packages name it: "long/ssd", or ""
// for the ordinary model. Pure.
[[nodiscard]] std::string ModelOfMachine(const std::string& serialNumber);

// False when the package fits this machine, true when it must not be applied, also when that is unknown. A machine
// whose version is of the form "BMC:..." takes the packages of its model; any other takes those whose version begins
// with the two characters that its own begins with. The record is not looked at when the BMC cannot be read.
[[nodiscard]] bool PackageDoesNotFit(CFirmware& firmware, const CManageRepositoryInfo* repository);

// Appends what an update needs and this machine lacks: "IPMI tool" without any tool, "IPMI service" when ipmitool is
// used but the operating system's service does not run; else nothing.
void AppendMissingPrerequisites(std::list<CNecessaryComponentInfo>& missing);

}  // namespace kestrel

#endif  // PROVIDER_UPDATE_CONDITIONS_H
