#include "refhost/driver/trial.h"

#include <cstdlib>
#include <filesystem>

#include "refhost/command_observer.h"
#include "refhost/settings.h"

namespace refhost {

namespace {

class RefusingObserver : public CommandObserver {
 public:
  bool Allows(const CommandRequest& request) override {
    refused.emplace_back(request.line);
    return false;
  }
  void Starts(const CommandRequest& /*request*/) override {}
  void Ended(const CommandRequest& /*request*/, const CommandResult& /*result*/) override {}

  std::vector<std::string> refused;
};

RefusingObserver& Observer() {
  static RefusingObserver observer;
  return observer;
}

}  // namespace

void PrepareTrial(const Candidate& candidate) {
  const std::string installPath = candidate.folder + "/install";
  const std::string work = candidate.folder + "/work";
  std::filesystem::create_directory(installPath);
  std::filesystem::create_directory(work);
  std::filesystem::current_path(work);
  setenv("HOME", work.c_str(), 1);
  setenv("TMPDIR", work.c_str(), 1);
  Configure({installPath, CurrentSettings().serverType, ""});
  SetCommandObserver(&Observer());
}

const std::vector<std::string>& RefusedCommands() {
  return Observer().refused;
}

}  // namespace refhost
