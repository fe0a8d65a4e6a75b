// Looks for what programs wrote to the standard error whenever that can be known to be of one of them: when a shell
// command of the host's has ended, and at each line of the trace, which the plug-in writes around its own commands.
// Hands it on to the journal and to the watch that gathers evidence.
#ifndef ORVHOST_RUN_ERROR_OUTPUT_WATCH_H
#define ORVHOST_RUN_ERROR_OUTPUT_WATCH_H

#include "orvhost/journal/journal.h"
#include "orvhost/run/error_output.h"
#include "orvhost/trace/trace_watch.h"
#include "refhost/command_observer.h"
#include "refhost/trace_sink.h"

namespace orvhost {

class ErrorOutputWatch : public refhost::CommandObserver {
 public:
  // All must outlive this. What this hears as an observer goes to `next` as well. With `echoes` what is found is
  // written to what the standard error was before, too.
  ErrorOutputWatch(TraceWatch* watch, Journal* journal, refhost::CommandObserver* next, bool echoes)
      : watch_(*watch), journal_(*journal), next_(*next), echoes_(echoes) {}

  void Begin() { output_.Begin(); }
  void End();

  // What was written up to now is of no command that the host runs.
  void Look() { Take(Journal::Writer::kOther); }

  // Refuses the flash tool when nobody could tell later that it was started.
  bool Allows(const refhost::CommandRequest& request) override;
  void Starts(const refhost::CommandRequest& request) override;
  void Ended(const refhost::CommandRequest& request, const refhost::CommandResult& result) override;
  void PauseStarts(unsigned long milliseconds) override { next_.PauseStarts(milliseconds); }
  void PauseEnded() override { next_.PauseEnded(); }

 private:
  void Take(Journal::Writer writer);

  ErrorOutput output_;
  TraceWatch& watch_;
  Journal& journal_;
  refhost::CommandObserver& next_;
  const bool echoes_;
};

// Has an ErrorOutputWatch, which stays the caller's, look before the others get a line of the trace.
class ErrorOutputSink : public refhost::TraceSink {
 public:
  explicit ErrorOutputSink(ErrorOutputWatch* watch) : watch_(*watch) {}
  void Write(const refhost::TraceRecord& /*record*/) override { watch_.Look(); }

 private:
  ErrorOutputWatch& watch_;
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_ERROR_OUTPUT_WATCH_H
