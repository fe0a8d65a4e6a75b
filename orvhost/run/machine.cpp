#include "orvhost/run/machine.h"

#include <unistd.h>

#include <cstdlib>

namespace orvhost {

bool IsLabMachine() {
  return getenv("ORVHOST_LAB_MACHINE") != nullptr;
}

bool MayWriteFirmware() {
  return geteuid() == 0 || IsLabMachine();
}

std::string MachineFolder() {
  const char* folder = IsLabMachine() ? getenv("ORVHOST_LAB_LOCK_FOLDER") : nullptr;
  return folder != nullptr ? folder : kUsualMachineFolder;
}

}  // namespace orvhost
