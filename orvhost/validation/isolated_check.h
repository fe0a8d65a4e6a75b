// Runs one check in a process of its own, so that a crash, an exit or a hang of what is checked is a result like any
// other and nothing of it is left behind.
#ifndef ORVHOST_VALIDATION_ISOLATED_CHECK_H
#define ORVHOST_VALIDATION_ISOLATED_CHECK_H

#include <chrono>
#include <functional>
#include <string>

namespace orvhost {

struct CheckResult {
  enum class Status { kPass, kFail, kSkip };
  Status status = Status::kPass;
  std::string reason;    // clause without its full stop; "" of a pass
  std::string evidence;  // what was seen, of a pass too; may be ""

  [[nodiscard]] static CheckResult Pass(const std::string& evidence = "") { return {Status::kPass, "", evidence}; }
  [[nodiscard]] static CheckResult Fail(const std::string& reason, const std::string& evidence = "") {
    return {Status::kFail, reason, evidence};
  }
  [[nodiscard]] static CheckResult Skip(const std::string& reason) { return {Status::kSkip, reason, ""}; }
};

// Forks, lets the child call `check` and tells what came of it: the check's own result; a failure when the child threw,
// was ended by a signal, ended by itself without a result, or did not come back within `limit`. The child has no
// standard input and its outputs are discarded. All that it started in its process group is killed. Call it while this
// process has one thread.
[[nodiscard]] CheckResult RunIsolated(const std::function<CheckResult()>& check, std::chrono::milliseconds limit);

}  // namespace orvhost

#endif  // ORVHOST_VALIDATION_ISOLATED_CHECK_H
