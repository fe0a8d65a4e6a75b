// The programs of the simulated machine: what becomes of the shell commands that the host and the plug-in run, with
// what each prints, and what goes wrong with them.
#ifndef EXPLORE_PROGRAMS_H
#define EXPLORE_PROGRAMS_H

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "explore/disk.h"
#include "explore/faults.h"
#include "explore/world.h"
#include "refhost/machine.h"

namespace explore {

class Programs {
 public:
  // Both must outlive this.
  Programs(World& world, Disk& disk) : world_(world), disk_(disk) {}

  // For the host.
  [[nodiscard]] refhost::ShellEnd Run(const refhost::ShellCommand& command);

  // For the plug-in: system(), which answers a wait status, and what it forks.
  [[nodiscard]] int System(const std::string& line);
  [[nodiscard]] bool ForkScript(FaultKind* fault);  // false when there is no process
  void StartScript(const std::string& line, FaultKind fault);
  void EndScript(int exitStatus) { scriptStatus_ = exitStatus << 8; }              // before it was one
  [[nodiscard]] std::optional<int> ScriptStatus() const { return scriptStatus_; }  // nothing while it runs

  // What was broken for good works again.
  void Repair();

  // Called when the flash tool or the script is about to start.
  std::function<void()> beforeFlash;
  std::function<void()> beforeHalt;

  // A seeded defect: the flash tool does nothing and says that it is done.
  bool liesAboutFlash = false;

  // Command lines that nobody plays.
  std::set<std::string> unknown;

 private:
  struct Output {
    int exitStatus = 0;
    std::string text;
    std::string errors;
  };

  [[nodiscard]] Output Play(const std::string& line, FaultKind fault);
  [[nodiscard]] Output Answer(const kv6000::Bytes& request, bool makersTool, FaultKind fault);
  [[nodiscard]] kv6000::Bytes Ask(const kv6000::Bytes& request, FaultKind fault);
  [[nodiscard]] Output FlashTool(const std::string& line, FaultKind fault);
  [[nodiscard]] Output Describe(const std::string& line) const;
  void LeaveRunning(const std::string& line, Microseconds time, std::function<void()> rest);
  void WriteSensorRecords(const std::string& folder);
  void BeginFirmware(const std::string& folder);
  void FinishFirmware(const std::string& folder);

  World& world_;
  Disk& disk_;
  std::set<std::pair<int, int>> busy_;
  bool silent_ = false;
  std::optional<int> scriptStatus_;
};

}  // namespace explore

#endif  // EXPLORE_PROGRAMS_H
