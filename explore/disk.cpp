#include "explore/disk.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

#include "explore/packages.h"

namespace explore {

namespace {

namespace fs = std::filesystem;

constexpr auto kOfTheMachine =
    std::to_array<std::string_view>({"/srv/", "/opt/kestrel/", "/usr/bin/ipmitool", "/proc", "/sys/class/dmi",
                                     "/dev/ipmi", "/dev/console", "/run/orvhost", "/etc/redhat-release"});
// The process's own, which the tool looks at to see itself.
constexpr auto kOfThisProcess = std::to_array<std::string_view>({"/proc/self/fd/", "/proc/self/statm"});

constexpr const char* kLeftProcess = "/proc/5000";

long ThisProcess() {
  return syscall(SYS_getpid);
}

const std::string& PackageFor(const MachineKind& machine) {
  static std::map<std::string, std::string> packages;
  const std::string key = machine.NewVersion() + std::to_string(machine.records);
  auto found = packages.find(key);
  if (found == packages.end()) {
    found = packages.emplace(key, MakePackage(machine)).first;
  }
  return found->second;
}

}  // namespace

Disk::Disk() : owner_(ThisProcess()) {
  const char* chosen = getenv("TMPDIR");
  std::string name = (chosen != nullptr               ? chosen
                      : access("/dev/shm", W_OK) == 0 ? "/dev/shm"
                                                      : "/tmp") +
                     std::string("/kestrel-explore-XXXXXX");
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no folder can be made: " + name);
  }
  folder_ = name;
  root_ = folder_ + "/root";
}

Disk::~Disk() {
  if (ThisProcess() == owner_) {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
}

void Disk::Fill(const MachineKind& machine) {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
  for (const char* folder : {"",
                             "/srv",
                             "/srv/orv",
                             "/srv/orv/KV6KBMC",
                             "/srv/packages",
                             "/srv/plugin",
                             "/srv/reports",
                             "/opt",
                             "/opt/kestrel",
                             "/opt/kestrel/node_keeper",
                             "/opt/kestrel/node_keeper/ipmi_tools",
                             "/usr",
                             "/usr/bin",
                             "/proc",
                             "/proc/self",
                             "/sys",
                             "/sys/class",
                             "/sys/class/dmi",
                             "/sys/class/dmi/id",
                             "/dev",
                             "/run",
                             "/etc"}) {
    mkdir((root_ + folder).c_str(), 0755);
  }
  Write(kPackagePath, PackageFor(machine));
  Write("/usr/bin/ipmitool", "tool\n");
  if (machine.hasMakersTool) {
    Write("/opt/kestrel/node_keeper/ipmi_tools/ipmicmd", "tool\n");
  }
  Write("/srv/orv/KV6KBMC/Yafuflash", "tool\n");
  chmod(Real("/srv/orv/KV6KBMC/Yafuflash").c_str(), 0755);
  Write("/sys/class/dmi/id/product_name", machine.isRack ? "KV6000RT\n" : "KV6000\n");
  Write("/dev/ipmi0", "");
  Write("/dev/console", "");
  Write("/etc/redhat-release", "Simulated Linux 1\n");
}

std::string Disk::Real(const std::string& path) const {
  for (const std::string_view own : kOfThisProcess) {
    if (path.starts_with(own)) {
      return "";
    }
  }
  for (const std::string_view name : kOfTheMachine) {
    if (path.starts_with(name)) {
      return root_ + path;
    }
  }
  return "";
}

std::string Disk::Read(const std::string& path) const {
  std::ifstream file(Real(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Disk::Write(const std::string& path, const std::string& content) const {
  std::ofstream(Real(path), std::ios::binary) << content;
}

bool Disk::Has(const std::string& path) const {
  return access(Real(path).c_str(), F_OK) == 0;
}

void Disk::ShowProcess(const std::string& commandLine, const std::string& mark) {
  mkdir(Real(kLeftProcess).c_str(), 0755);
  Write(std::string(kLeftProcess) + "/status", "Name:\tsh\nUid:\t" + std::to_string(geteuid()) + "\t0\t0\t0\n");
  Write(std::string(kLeftProcess) + "/environ", "ORVHOST_RUN=" + mark + std::string(1, '\0'));
  Write(std::string(kLeftProcess) + "/cmdline", "sh" + std::string(1, '\0') + commandLine + std::string(1, '\0'));
}

void Disk::HideProcess() {
  std::error_code ignored;
  fs::remove_all(Real(kLeftProcess), ignored);
}

void Disk::GoDown() {
  std::error_code ignored;
  fs::remove_all(Real("/run/orvhost"), ignored);
  HideProcess();
}

}  // namespace explore
