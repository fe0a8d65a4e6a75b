// The standard error of this process while a plug-in is at work: a file in memory takes the place of what it was, so
// that what programs write there neither runs over the live line nor gets lost. It does not matter who started them,
// the host or the plug-in itself; a program that sends its standard error elsewhere is not heard.
//
// A file and no pipe: a program that outlives this one, as a flash tool may, goes on writing and is not ended by it. A
// thread gives the memory of what nobody will read back while a program goes on writing, so that it waits for nothing
// and what it writes takes no more room than it can write in an instant.
#ifndef ORVHOST_RUN_ERROR_OUTPUT_H
#define ORVHOST_RUN_ERROR_OUTPUT_H

#include <string>
#include <thread>

#include "orvhost/trace/error_text.h"
#include "posix/file_descriptor.h"

namespace orvhost {

class ErrorOutput {
 public:
  ErrorOutput() = default;
  ErrorOutput(const ErrorOutput&) = delete;
  ErrorOutput& operator=(const ErrorOutput&) = delete;
  ~ErrorOutput() { End(); }

  // From here on it is kept. Where that cannot be, everything stays as it is and nothing is ever heard.
  void Begin();

  // From here on its memory is given back while programs write. For the time at which they begin to, and not before: it
  // takes a thread, and what the host forks for itself earlier is best forked by a process without one.
  void KeepSmall();

  // What was written since the last call; no text for nothing. Of more than kLongestErrorText bytes the last ones,
  // which hold the reason of a failure. May be called in a child of this process too; what one takes no other gets.
  [[nodiscard]] ErrorText Take();

  // Writes to what the standard error was before.
  void Echo(const std::string& text) const;

  // The standard error is again what it was.
  void End();

 private:
  void GiveMemoryBack();

  posix::FileDescriptor original_;
  posix::FileDescriptor file_;
  posix::FileDescriptor reader_;
  posix::FileDescriptor stop_;
  int pid_ = 0;
  std::thread trimmer_;
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_ERROR_OUTPUT_H
