// How the plug-in writes its debug trace: the channel, short names for the levels, and the start and end lines of an
// operation. Every other line is written with CTraceUtility::WriteDebug where it arises, its text in full, because
// readers of the trace match on these texts.
#ifndef IPMI_TRACE_H
#define IPMI_TRACE_H

#include "host/DllCommon.h"

namespace kestrel {

inline constexpr const char* kChannel = "bmc";
using Level = CTraceUtility::TRACE_DBG_LEVEL;
inline constexpr Level kInfo = CTraceUtility::TRACE_DBG_INFO;
inline constexpr Level kError = CTraceUtility::TRACE_DBG_ERROR;
inline constexpr Level kFlow = CTraceUtility::TRACE_DBG_FLOW;
inline constexpr Level kRetry = CTraceUtility::TRACE_DBG_RETRY;

// Writes an operation's start line when it is made and its end line when the operation returns. An exit that deviates
// says so where it deviates: End() for a line that does not come last, EndAs() for another line, NoEnd() for none. An
// exception leaves the operation without an end line.
class OperationTrace {
 public:
  // Both texts must outlive the object; they are literals at every place of use.
  OperationTrace(const char* startLine, const char* endLine);
  ~OperationTrace();

  OperationTrace(const OperationTrace&) = delete;
  OperationTrace& operator=(const OperationTrace&) = delete;

  // Writes the end line now and not again on return.
  void End();

  // This exit ends with `line` instead.
  void EndAs(const char* line);

  // This exit has no end line.
  void NoEnd();

 private:
  const char* endLine_;
  int exceptionsAtStart_;
  bool ended_ = false;
};

}  // namespace kestrel

#endif  // IPMI_TRACE_H
