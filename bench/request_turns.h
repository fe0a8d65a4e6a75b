// Measures an operation of the plug-in against the same number of bare requests, request by request.
//
// The plug-in traces every command line before it runs it. At that line the very same one is run bare, and its cost
// kept apart; then the plug-in goes on. So both sides run the same commands, one after the other, and whatever else the
// machine does falls on both alike.
#ifndef BENCH_REQUEST_TURNS_H
#define BENCH_REQUEST_TURNS_H

#include <functional>

#include "bench/bench_host.h"
#include "bench/measure.h"

namespace bench {

// Receives the trace while it lives.
class RequestTurns : public TraceFile {
 public:
  explicit RequestTurns(const BenchHost& host);
  ~RequestTurns() override;

  // Runs `operation` once; `ours` is its whole cost but for the bare requests between its own. Ends this program when
  // the operation has not sent exactly `requests`.
  Pass Measure(int requests, const std::function<void()>& operation);

  void Write(const refhost::TraceRecord& record) override;

 private:
  Cost bare_;
  Cost notOurs_;  // the bare requests, and tidying up behind them
  int requests_ = 0;
};

}  // namespace bench

#endif  // BENCH_REQUEST_TURNS_H
