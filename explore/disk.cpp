#include "explore/disk.h"

#include <algorithm>
#include <array>
#include <map>

#include "explore/packages.h"

namespace explore {

namespace {

constexpr auto kOfTheMachine =
    std::to_array<std::string_view>({"/srv/", "/opt/kestrel/", "/usr/bin/ipmitool", "/proc", "/sys/class/dmi",
                                     "/dev/ipmi", "/dev/console", "/run/orvhost", "/etc/redhat-release"});
// The process's own, which the tool looks at to see itself.
constexpr auto kOfThisProcess = std::to_array<std::string_view>({"/proc/self/fd/", "/proc/self/statm"});

constexpr const char* kLeftProcess = "/proc/5000";

const std::string& PackageFor(const MachineKind& machine) {
  static std::map<std::string, std::string> packages;
  const std::string key = machine.NewVersion() + std::to_string(machine.records);
  auto found = packages.find(key);
  if (found == packages.end()) {
    found = packages.emplace(key, MakePackage(machine)).first;
  }
  return found->second;
}

void SyncBelow(const FilePointer& file) {
  file->Sync();
  for (const auto& [name, inside] : file->Inside()) {
    SyncBelow(inside);
  }
}

}  // namespace

void Disk::Fill(const MachineKind& machine) {
  files_.Clear();
  for (const char* folder : {"/srv",
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
    (void)files_.Make(files_.Root(), folder, true, 0755);
  }
  Write(kPackagePath, PackageFor(machine));
  Write("/usr/bin/ipmitool", "tool\n");
  if (machine.hasMakersTool) {
    Write("/opt/kestrel/node_keeper/ipmi_tools/ipmicmd", "tool\n");
  }
  Write("/srv/orv/KV6KBMC/Yafuflash", "tool\n", 0755);
  Write("/sys/class/dmi/id/product_name", machine.isRack ? "KV6000RT\n" : "KV6000\n");
  Write("/dev/ipmi0", "");
  Write("/dev/console", "");
  Write("/etc/redhat-release", "Simulated Linux 1\n");
  SyncAll();
}

void Disk::SyncAll() {
  SyncBelow(files_.Root());
}

bool Disk::Has(std::string_view path) {
  const auto begins = [path](std::string_view name) { return path.starts_with(name); };
  return std::ranges::any_of(kOfTheMachine, begins) && std::ranges::none_of(kOfThisProcess, begins);
}

std::string Disk::Read(const std::string& path) const {
  const FilePointer file = files_.Find(path);
  return file ? file->Content() : "";
}

void Disk::Write(const std::string& path, std::string_view content, mode_t mode) {
  FilePointer file = files_.Find(path);
  file = file ? file : files_.Make(files_.Root(), path, false, mode);
  if (file) {
    file->Truncate(0, files_.now());
    file->Write(0, content, files_.now());
  }
}

bool Disk::IsLocked(const std::string& path) const {
  const FilePointer file = files_.Find(path);
  return file && file->lockedBy != nullptr;
}

std::vector<std::string> Disk::Names(const std::string& folder) const {
  std::vector<std::string> names;
  if (const FilePointer found = files_.Find(folder)) {
    for (const auto& [name, file] : found->Inside()) {
      names.push_back(name);
    }
  }
  return names;
}

std::vector<std::string> Disk::AllNames(const std::string& folder) const {
  std::vector<std::string> names = Names(folder);
  for (std::size_t count = names.size(), at = 0; at < count; ++at) {
    const auto inside = AllNames(folder + "/" + names[at]);
    names.insert(names.end(), inside.begin(), inside.end());
  }
  return names;
}

void Disk::ShowProcess(const std::string& commandLine, const std::string& mark) {
  (void)files_.Make(files_.Root(), kLeftProcess, true, 0755);
  Write(std::string(kLeftProcess) + "/status", "Name:\tsh\nUid:\t0\t0\t0\t0\n");
  Write(std::string(kLeftProcess) + "/environ", "ORVHOST_RUN=" + mark + std::string(1, '\0'));
  Write(std::string(kLeftProcess) + "/cmdline", "sh" + std::string(1, '\0') + commandLine + std::string(1, '\0'));
}

void Disk::HideProcess() {
  files_.RemoveAll(kLeftProcess);
}

void Disk::GoDown(bool hasPower) {
  if (hasPower) {
    SyncAll();
  } else {
    files_.LosePower();
  }
  files_.RemoveAll("/run/orvhost");
  HideProcess();
}

}  // namespace explore
