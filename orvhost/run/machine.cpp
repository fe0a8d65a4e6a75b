#include "orvhost/run/machine.h"

#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>

namespace orvhost {

bool IsLabMachine() {
  return getenv("ORVHOST_LAB_MACHINE") != nullptr;
}

bool MayWriteFirmware() {
  return geteuid() == 0 || IsLabMachine();
}

bool MayTalkToTheBmc() {
  if (MayWriteFirmware()) {
    return true;
  }
  bool isThere = false;
  for (const char* device : {"/dev/ipmi0", "/dev/ipmi/0", "/dev/ipmidev/0"}) {
    isThere |= access(device, F_OK) == 0;
    if (access(device, R_OK | W_OK) == 0) {
      return true;
    }
  }
  return !isThere;
}

std::string HostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  return gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0' ? name.data() : "this machine";
}

std::string MachineFolder() {
  const char* folder = IsLabMachine() ? getenv("ORVHOST_LAB_LOCK_FOLDER") : nullptr;
  return folder != nullptr ? folder : kUsualMachineFolder;
}

std::string SystemFile(const std::string& path) {
  if (!IsLabMachine()) {
    return path;
  }
  const char* folder = getenv("ORVHOST_LAB_SYSTEM");
  return folder != nullptr ? folder + path : "";
}

}  // namespace orvhost
