#include "orvhost/commands/sending.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "orvhost/trace/plugin_lines.h"
#include "orvhost/trace/remedy.h"

namespace orvhost {

namespace {

// A transfer whose unlock was lost keeps its file locked for whoever comes next, until the machine starts anew.
constexpr const char* kMayBeLocked =
    " If the sending before this one failed or was cut off too, a record may have been left locked: start the machine "
    "anew (shutdown -h now, then switch it on) and send again. If locking fails even then, replace the board that has "
    "the service processor.";

bool FailedAtLocking(const SendWatch& seen) {
  return std::ranges::any_of(seen.Results(), [](const SendResult& result) {
    return result.state == SendResult::State::kFailed && result.detail == plugin_lines::lines::kLockingFailed.words;
  });
}

}  // namespace

const SendWatch& WatchSending(const Run& run) {
  auto watch = std::make_unique<SendWatch>();
  const SendWatch& seen = *watch;
  run.trace.Add(std::move(watch));
  return seen;
}

std::string NextStepOfSending(const Run& run, const SendWatch& seen) {
  return RemedyThenAgain(run.watch) + " It sends everything anew." + (FailedAtLocking(seen) ? kMayBeLocked : "");
}

}  // namespace orvhost
