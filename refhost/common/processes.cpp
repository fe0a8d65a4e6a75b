// The process services of CCommon_Information.
#include <atomic>

#include "host/Results.h"
#include "refhost/command_observer.h"
#include "refhost/common/interrupt_source.h"
#include "refhost/contract.h"
#include "refhost/machine.h"

namespace {

using refhost::ShellEnd;

// A question to the machine that takes longer than this will not be answered.
constexpr unsigned long kResultLineLimitMs = 60000;

std::atomic<refhost::CommandObserver*> currentObserver{nullptr};

// Tells the observer of one command: that it starts, and at the end of the scope how it ended.
class Observed {
 public:
  explicit Observed(const refhost::CommandRequest& request) : request_(request), observer_(currentObserver.load()) {
    isAllowed_ = observer_ == nullptr || observer_->Allows(request_);
    if (observer_ != nullptr && isAllowed_) {
      observer_->Starts(request_);
    }
  }
  Observed(const Observed&) = delete;
  Observed& operator=(const Observed&) = delete;
  ~Observed() {
    if (observer_ != nullptr && isAllowed_) {
      observer_->Ended(request_, result_);
    }
  }

  bool IsAllowed() const { return isAllowed_; }

  // Its texts must outlive this.
  refhost::CommandResult& Result() { return result_; }

 private:
  const refhost::CommandRequest request_;
  refhost::CommandObserver* const observer_;
  bool isAllowed_ = true;
  refhost::CommandResult result_{host::kCommandNotRun, 0, ""};
};

int Answer(ShellEnd::How how) {
  if (how == ShellEnd::How::kTimedOut) {
    return host::kCommandTimedOut;
  }
  return how == ShellEnd::How::kExited ? host::kCommandRan : host::kCommandNotRun;
}

}  // namespace

namespace refhost {

CommandObserver::~CommandObserver() = default;

void SetCommandObserver(CommandObserver* observer) {
  currentObserver = observer;
}

CommandObserver* CurrentCommandObserver() {
  return currentObserver.load();
}

}  // namespace refhost

int CCommon_Information::ExecForeignModule(const std::string& command, const std::string& outputFile,
                                           const std::string& workDir, unsigned long* exitCode, unsigned long limitMs) {
  if (command.empty() || refhost::MustGiveUp()) {
    return host::kCommandNotRun;
  }
  Observed observed({command, workDir, outputFile, limitMs, false});
  if (!observed.IsAllowed()) {
    return host::kCommandNotRun;
  }
  const ShellEnd end = refhost::CurrentMachine().Run({command, workDir, outputFile, false, limitMs});
  refhost::CommandResult& result = observed.Result();
  result.neverStarted = end.how == ShellEnd::How::kNotStarted;
  result.exitStatus = end.exitStatus;
  result.result = Answer(end.how);
  if (result.result == host::kCommandRan && exitCode != nullptr) {
    *exitCode = static_cast<unsigned long>(result.exitStatus);
  }
  return result.result;
}

std::string CCommon_Information::GetResultLine(const std::string& command) {
  if (command.empty() || refhost::MustGiveUp()) {
    return "";
  }
  std::string line;
  Observed observed({command, "", "", kResultLineLimitMs, true});
  if (!observed.IsAllowed()) {
    return "";
  }
  const ShellEnd end = refhost::CurrentMachine().Run({command, "", "", true, kResultLineLimitMs});
  refhost::CommandResult& result = observed.Result();
  result.neverStarted = end.how == ShellEnd::How::kNotStarted;
  result.exitStatus = end.exitStatus;
  result.result = Answer(end.how);
  if (result.result == host::kCommandRan) {
    line = end.firstLine;
  }
  result.output = line;
  return std::string(line);  // a copy: the observer hears of the line after this
}
