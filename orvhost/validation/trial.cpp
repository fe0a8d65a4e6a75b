#include "orvhost/validation/trial.h"

#include <cstdlib>
#include <filesystem>

#include "refhost/command_observer.h"
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
  refhost::Configure({installPath, refhost::CurrentSettings().serverType, ""});
  refhost::SetCommandObserver(&Observer());
}

const std::vector<std::string>& RefusedCommands() {
  return Observer().refused;
}

}  // namespace orvhost
