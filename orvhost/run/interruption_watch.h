// Reads the plug-in's trace for what a run that is asked to end must know: which step must not be left half-way any
// more, and what would be left if it ended now.
#ifndef ORVHOST_RUN_INTERRUPTION_WATCH_H
#define ORVHOST_RUN_INTERRUPTION_WATCH_H

#include "orvhost/run/interruption.h"
#include "refhost/trace_sink.h"

namespace orvhost {

class InterruptionWatch : public refhost::TraceSink {
 public:
  // Which must outlive this.
  explicit InterruptionWatch(Interruption* interruption) : interruption_(*interruption) {}

  void Write(const refhost::TraceRecord& record) override;

 private:
  Interruption& interruption_;
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_INTERRUPTION_WATCH_H
