// Reads the plug-in's trace while it is written and keeps what a run must know of it: whether writing the flash began,
// whether the machine was asked to go down, and what to show as evidence of a failure. It guesses nothing: each answer
// rests on a line that the plug-in wrote.
#ifndef ORVHOST_TRACE_TRACE_WATCH_H
#define ORVHOST_TRACE_TRACE_WATCH_H

#include <string>
#include <string_view>

#include "orvhost/interface/outcome.h"
#include "orvhost/trace/error_text.h"
#include "refhost/trace_sink.h"

namespace orvhost {

class TraceWatch : public refhost::TraceSink {
 public:
  void Write(const refhost::TraceRecord& record) override;

  // A shell command of the host's starts: what is written to the standard error from here on is its own.
  void CommandStarts() { errorLines_.Clear(); }
  // That command could not be started. Was it to write the flash, then that did not begin.
  void CommandNeverStarted(std::string_view line);
  void TakeErrorText(const ErrorText& text) { errorLines_.Add(text); }

  // The plug-in started the flash tool or the package's update script.
  [[nodiscard]] bool FlashBegan() const { return flashStarts_ > 0; }

  // The command with which it did so last; "" when it did not.
  [[nodiscard]] const std::string& FlashCommand() const { return flashCommand_; }

  // The plug-in ran the command that halts or restarts the machine.
  [[nodiscard]] bool ShutdownWasRequested() const { return shutdownWasRequested_; }

  // It was the one that restarts it, as where no update marker is there: the BMC takes nothing that the flash tool
  // wrote.
  [[nodiscard]] bool RestartWasRequested() const { return restartWasRequested_; }

  // Identifier and first inserted text of the last record for operators; "" when there was none.
  [[nodiscard]] const std::string& LastMessageId() const { return lastMessageId_; }
  [[nodiscard]] const std::string& LastDetail() const { return lastDetail_; }

  // What shows why something failed. Where the trace tells of no failure, the command is the last one that was run.
  [[nodiscard]] Evidence Gathered() const;

 private:
  void WatchProgress(std::string_view text);
  void WatchFailure(std::string_view text);
  void BlameCommand();

  int flashStarts_ = 0;
  bool shutdownWasRequested_ = false;
  bool restartWasRequested_ = false;
  std::string lastMessageId_;
  std::string lastDetail_;
  std::string flashCommand_;
  std::string command_;    // the last one
  ErrorLines errorLines_;  // what it wrote to the standard error
  bool hasFailed_ = false;
  Evidence evidence_;
};

}  // namespace orvhost

#endif  // ORVHOST_TRACE_TRACE_WATCH_H
