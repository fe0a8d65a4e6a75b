// The files of the simulated machine: a folder of this process in the place of "/", filled anew for every life.
#ifndef EXPLORE_DISK_H
#define EXPLORE_DISK_H

#include <string>

#include "explore/roads.h"

namespace explore {

inline constexpr const char* kInstallPath = "/srv/orv";
inline constexpr const char* kPackagePath = "/srv/packages/bmc.tar";
inline constexpr const char* kPluginPath = "/srv/plugin/liborvp_KESTREL_BMC.so";

class Disk {
 public:
  // Makes a folder of its own for this process and removes it at the end.
  Disk();
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;
  ~Disk();

  // A machine on which nothing was done yet.
  void Fill(const MachineKind& machine);

  // Where the file with that name on the simulated machine lies; "" for one that is not of that machine.
  [[nodiscard]] std::string Real(const std::string& path) const;

  [[nodiscard]] std::string Read(const std::string& path) const;  // "" when it is not there
  void Write(const std::string& path, const std::string& content) const;
  [[nodiscard]] bool Has(const std::string& path) const;

  // A process that is at work, as /proc shows it, with the mark of the run that started it.
  void ShowProcess(const std::string& commandLine, const std::string& mark);
  void HideProcess();

  // What is gone when the machine goes down.
  void GoDown();

 private:
  std::string folder_;  // of this process
  std::string root_;
  long owner_;
};

}  // namespace explore

#endif  // EXPLORE_DISK_H
