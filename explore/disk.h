// The files of the simulated machine, filled anew for every life.
#ifndef EXPLORE_DISK_H
#define EXPLORE_DISK_H

#include <string>
#include <string_view>
#include <vector>

#include "explore/files.h"
#include "explore/roads.h"

namespace explore {

inline constexpr const char* kInstallPath = "/srv/orv";
inline constexpr const char* kPackagePath = "/srv/packages/bmc.tar";
inline constexpr const char* kPluginPath = "/srv/plugin/liborvp_KESTREL_BMC.so";

class Disk {
 public:
  Disk() = default;
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;
  ~Disk() = default;

  // A machine on which nothing was done yet.
  void Fill(const MachineKind& machine);

  // Whether a file with that path is one of the simulated machine, and not of this process.
  [[nodiscard]] static bool Has(std::string_view path);

  [[nodiscard]] Files& TheFiles() { return files_; }

  [[nodiscard]] std::string Read(const std::string& path) const;  // "" when it is not there
  void Write(const std::string& path, std::string_view content, mode_t mode = 0644);
  void Remove(const std::string& path) { (void)files_.Remove(files_.Root(), path, false); }
  [[nodiscard]] bool Holds(const std::string& path) const { return files_.Find(path) != nullptr; }
  [[nodiscard]] bool IsLocked(const std::string& path) const;
  [[nodiscard]] std::vector<std::string> Names(const std::string& folder) const;     // in it, sorted
  [[nodiscard]] std::vector<std::string> AllNames(const std::string& folder) const;  // and in the folders in it

  // A process that is at work, as /proc shows it, with the mark of the run that started it.
  void ShowProcess(const std::string& commandLine, const std::string& mark);
  void HideProcess();

  // Brings all that is on it to where a loss of power does not take it.
  void SyncAll();

  // What is gone when the machine goes down; without power also what has not reached the disk.
  void GoDown(bool hasPower);

 private:
  Files files_;
};

}  // namespace explore

#endif  // EXPLORE_DISK_H
