#include "orvhost/validation/trial.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>

#include "refhost/command_observer.h"
#include "refhost/machine.h"
#include "refhost/settings.h"

namespace orvhost {

namespace {

class RefusingObserver : public refhost::CommandObserver {
 public:
  bool Allows(const refhost::CommandRequest& request) override {
    refused.emplace_back(request.line);
    return false;
  }
  void Starts(const refhost::CommandRequest& /*request*/) override {}
  void Ended(const refhost::CommandRequest& /*request*/, const refhost::CommandResult& /*result*/) override {}

  std::vector<std::string> refused;
};

// The real one, but that time passes at once where a plug-in waits.
class HastyMachine : public refhost::Machine {
 public:
  bool Pause(unsigned long milliseconds) override {
    pauses += milliseconds;
    return true;
  }

  refhost::ShellEnd Run(const refhost::ShellCommand& command) override { return real_.Run(command); }
  refhost::WorkResult RunApart(const std::function<refhost::WorkResult()>& work, const refhost::WorkLimits& limits,
                               int giveUp) override {
    return real_.RunApart(work, limits, giveUp);
  }
  void Rest(std::chrono::milliseconds time) override { real_.Rest(time); }
  std::chrono::system_clock::time_point Now() const override { return real_.Now(); }
  std::chrono::steady_clock::time_point SteadyNow() const override { return real_.SteadyNow(); }
  std::string BootId() const override { return real_.BootId(); }

  std::atomic<unsigned long> pauses = 0;

 private:
  refhost::Machine& real_ = refhost::CurrentMachine();
};

HastyMachine& Hasty() {
  static HastyMachine machine;
  return machine;
}

RefusingObserver& Observer() {
  static RefusingObserver observer;
  return observer;
}

}  // namespace

void PrepareTrial(const Candidate& candidate) {
  const std::string installPath = candidate.folder + kInstallFolder;
  const std::string work = candidate.folder + "/work";
  std::filesystem::create_directory(installPath);
  std::filesystem::create_directory(work);
  std::filesystem::current_path(work);
  setenv("HOME", work.c_str(), 1);
  setenv("TMPDIR", work.c_str(), 1);
  refhost::Configure({installPath, refhost::CurrentSettings().serverType, ""});
  refhost::SetCommandObserver(&Observer());
  refhost::SetMachine(&Hasty());
}

const std::vector<std::string>& RefusedCommands() {
  return Observer().refused;
}

unsigned long PausesAskedFor() {
  return Hasty().pauses;
}

}  // namespace orvhost
