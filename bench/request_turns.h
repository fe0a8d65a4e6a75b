// Measures an operation of the plug-in against its bare command lines, request by request.
//
// The plug-in traces every command line before it runs it. At that line the very same one is run bare, and once more by
// the host's own services, and the costs kept apart; then the plug-in goes on. So all sides run the same commands, one
// after the other; which of the first two comes first changes from request to request. The control row of the table
// tells how far two equal sides differ.
#ifndef BENCH_REQUEST_TURNS_H
#define BENCH_REQUEST_TURNS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "bench/bench_host.h"
#include "bench/measure.h"

namespace bench {

// What the host does with the trace that the plug-in hands to it.
enum class Trace { kDiscarded, kToFile };

// Receives the trace while it lives.
class RequestTurns : public refhost::TraceSink {
 public:
  RequestTurns(const BenchHost& host, Trace trace);
  ~RequestTurns() override;

  // Runs `operation` once; `ours` is its whole cost but for the other requests between its own. Ends this program when
  // the operation has not sent exactly `requests`.
  [[nodiscard]] Pass Measure(int requests, const std::function<void()>& operation);

  // The same for requests that a BMC does not take twice in a row, such as a lock: all are run without it behind
  // the operation.
  [[nodiscard]] Pass MeasureOneAfterTheOther(int requests, const std::function<void()>& operation);

  void Write(const refhost::TraceRecord& record) override;

 private:
  void RunBare(const std::string& command);
  void RunHosted(const std::string& command);

  std::optional<TraceFile> file_;
  bool takesTurns_ = true;
  bool bareFirst_ = true;
  std::vector<std::string> commands_;
  Cost bare_;
  Cost hosted_;
  Cost notOurs_;  // bare and hosted requests, and keeping the command
};

}  // namespace bench

#endif  // BENCH_REQUEST_TURNS_H
