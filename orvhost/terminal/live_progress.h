// Shows what a run is at: at a terminal in one live line that every other text of the program first takes away, and
// elsewhere (a log, a pipe, TERM=dumb) in a plain line after each 30 s in which nothing else was printed.
//
// The live line is written whole by one write(2) and the cursor goes back to its beginning, so there is no state of the
// terminal to restore. A clock of its own redraws it once a second. Only the process that made the object draws: a
// child that the plug-in forks may use its trace, and takes no lock here.
#ifndef ORVHOST_TERMINAL_LIVE_PROGRESS_H
#define ORVHOST_TERMINAL_LIVE_PROGRESS_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "orvhost/interface/options.h"
#include "orvhost/terminal/progress_line.h"
#include "posix/file_descriptor.h"
#include "refhost/command_observer.h"
#include "refhost/trace_sink.h"

namespace orvhost {

class LiveProgress : public refhost::CommandObserver {
 public:
  using Clock = std::chrono::steady_clock;

  // Does nothing before Begin. What it hears as an observer goes to `next` as well.
  explicit LiveProgress(refhost::CommandObserver* next, Clock::duration silence = std::chrono::seconds(30))
      : next_(*next), silence_(silence) {}
  ~LiveProgress() override { End(); }

  // Begins to show progress on a road of those phases, unless the options ask for quiet, JSON or the trace itself. A
  // plain line goes to `say`, which is called by another thread.
  void Begin(const Options& options, const std::vector<const char*>& phases,
             std::function<void(const std::string&)> say);

  // The run goes on with that phase.
  void Enter(const std::string& phase);

  // Another text comes: takes the line away until there is something new to show.
  void Hide();

  // Takes the line away for good.
  void End();

  void Take(const refhost::TraceRecord& record);

  bool Allows(const refhost::CommandRequest& request) override { return next_.Allows(request); }
  void Starts(const refhost::CommandRequest& request) override;
  void Ended(const refhost::CommandRequest& request, const refhost::CommandResult& result) override;
  void PauseStarts(unsigned long milliseconds) override;
  void PauseEnded() override;

 private:
  [[nodiscard]] bool IsMine() const;
  void WaitFor(const ProgressWait& wait);
  void Tick();
  void Draw();
  void BreakSilence(std::unique_lock<std::mutex>* lock);
  [[nodiscard]] std::string Line(std::size_t width) const;

  refhost::CommandObserver& next_;
  const Clock::duration silence_;
  std::vector<const char*> phases_;
  std::function<void(const std::string&)> say_;
  posix::FileDescriptor terminal_;
  pid_t owner_ = 0;
  std::mutex mutex_;  // of everything below
  std::condition_variable changed_;
  bool ended_ = false;
  bool shown_ = false;
  bool hidden_ = true;
  Clock::time_point start_;
  Clock::time_point lastText_;
  Clock::time_point waitStart_;
  std::size_t phase_ = 0;  // counted from 1; 0 before the first
  ProgressSteps steps_;
  ProgressWait wait_;
  std::string drawn_;
  std::thread clock_;
};

// Hands the trace on to a LiveProgress, which stays the caller's.
class ProgressSink : public refhost::TraceSink {
 public:
  explicit ProgressSink(LiveProgress* progress) : progress_(*progress) {}
  void Write(const refhost::TraceRecord& record) override { progress_.Take(record); }

 private:
  LiveProgress& progress_;
};

}  // namespace orvhost

#endif  // ORVHOST_TERMINAL_LIVE_PROGRESS_H
