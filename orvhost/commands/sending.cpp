#include "orvhost/commands/sending.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "host/Results.h"
#include "orvhost/run/failure.h"
#include "orvhost/trace/plugin_lines.h"
#include "orvhost/trace/remedy.h"
#include "orvhost/trace/send_watch.h"

namespace orvhost {

namespace {

using State = SendResult::State;

// A transfer whose unlock was lost keeps its file locked for whoever comes next, until the machine starts anew.
constexpr const char* kMayBeLocked =
    " If the sending before this one failed or was cut off too, a record may have been left locked: start the machine "
    "anew (shutdown -h now, then switch it on) and send again. If locking fails even then, replace the board that has "
    "the service processor.";

bool FailedAtLocking(const SendWatch& seen) {
  return std::ranges::any_of(seen.Results(), [](const SendResult& result) {
    return result.state == State::kFailed && result.detail == plugin_lines::lines::kLockingFailed.words;
  });
}

// What becomes of each record from here on, kept for as long as the run lasts.
const SendWatch& WatchSending(const Run& run) {
  auto watch = std::make_unique<SendWatch>(run.watch);
  const SendWatch& seen = *watch;
  run.trace.Add(std::move(watch));
  return seen;
}

long Count(const SendWatch& seen, State state) {
  const auto& results = seen.Results();
  return std::ranges::count_if(results, [state](const SendResult& r) { return r.state == state; });
}

void Conclude(const SendWatch& seen, Outcome* outcome) {
  const long all = std::ssize(seen.Results());
  if (Count(seen, State::kSent) == all) {
    outcome->verdict = "sent";
    outcome->summary = "The service processor has the information.";
  } else if (Count(seen, State::kNotSupported) == all) {
    outcome->verdict = "not-supported";
    outcome->summary = "Nothing was sent, because this BMC does not support it.";
  } else if (Count(seen, State::kUnknown) == 0) {
    outcome->verdict = "partly-sent";
    outcome->summary = "The service processor has what this BMC supports.";
  } else {
    outcome->verdict = "result-unknown";
    outcome->summary = "The plug-in reports success, but it does not show what was sent.";
  }
}

}  // namespace

void SendRecords(const Run& run, const Session& session, Outcome* outcome) {
  const SendWatch& seen = WatchSending(run);
  const bool succeeded = session.Vendor().ExecVendorMethod(kSendMethod) == host::kSuccess;
  outcome->changed = Count(seen, State::kSent) > 0;
  std::string inWords;
  for (const SendResult& result : seen.Results()) {
    outcome->facts.push_back({FactKey(result.name), result.name, InWords(result)});
    inWords += std::string(" ") + result.name + ": " + InWords(result) + ".";
    if (result.state == State::kSent && result.lacksName) {
      Note(
          run, outcome,
          "The operating system's name could not be read from /etc/redhat-release, so the record was sent without it.");
    }
  }
  if (succeeded && Count(seen, State::kFailed) == 0) {
    Conclude(seen, outcome);
    return;
  }
  Fail(run, outcome,
       {.exitCode = FailedExitCode(run),
        .verdict = "not-sent",
        .cause = "Not everything was sent." + inWords,
        .nextStep =
            RemedyThenAgain(run.watch) + " It sends everything anew." + (FailedAtLocking(seen) ? kMayBeLocked : "")});
}

}  // namespace orvhost
