// Where the trace of the host and its plug-ins goes: the program that uses the host libraries sets one sink and the
// levels it wants. Without a sink the trace is discarded.
//
// A plug-in may fork, and the child may trace before it executes another program. So nothing here takes a lock or
// buffers, and a sink that must hold the child's lines too writes each line with one write(2) at once.
#ifndef REFHOST_TRACE_SINK_H
#define REFHOST_TRACE_SINK_H

#include <string>
#include <string_view>

#include "refhost/export.h"

namespace refhost {

struct TraceRecord {
  int level;                   // a CTraceUtility::TRACE_DBG_LEVEL; 0 for a record for operators
  std::string_view channel;    // name of the plug-in, e.g. "bmc"
  std::string_view messageId;  // record for operators: "MSGID_BMC_0001_F"; otherwise ""
  std::string_view detail;     // record for operators: its first inserted text; otherwise ""
  std::string_view text;       // one line without its end; control characters other than the tab are escaped
};

class REFHOST_EXPORT TraceSink {
 public:
  TraceSink() = default;
  TraceSink(const TraceSink&) = delete;
  TraceSink& operator=(const TraceSink&) = delete;
  virtual ~TraceSink();

  // Takes one record, whose texts live only during the call.
  virtual void Write(const TraceRecord& record) = 0;
};

// Every level, for SetTraceLevels.
inline constexpr int kAllTraceLevels = 1 | 2 | 4 | 16;

// Makes `sink`, which stays the caller's, the receiver of the trace of this process; null for none.
REFHOST_EXPORT void SetTraceSink(TraceSink* sink);

// Lets debug lines through whose level is in `mask` (all at the start). Records for operators always pass.
REFHOST_EXPORT void SetTraceLevels(int mask);

// The record as a line of a trace file: UTC time, level ("R" for a record for operators) and text, each separated from
// the next by one blank, with a line end. The time has a fixed width and holds no blank.
[[nodiscard]] REFHOST_EXPORT std::string FormatTraceLine(const TraceRecord& record);

// Now, as in such a line: "2026-01-31T12:00:00.000000Z". Takes no lock.
[[nodiscard]] REFHOST_EXPORT std::string UtcNow();

// Width of the time and the blank behind it in such a line.
inline constexpr std::size_t kTraceTimeWidth = 28;

}  // namespace refhost

#endif  // REFHOST_TRACE_SINK_H
