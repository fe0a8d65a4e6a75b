// The host's own way to the trace: what a service cannot tell its caller by a result, it writes here.
#ifndef REFHOST_COMMON_TRACE_H
#define REFHOST_COMMON_TRACE_H

#include <string>

namespace refhost {

// Writes an error line (level 2) to the channel `channel`.
void TraceError(const std::string& channel, const std::string& text);

}  // namespace refhost

#endif  // REFHOST_COMMON_TRACE_H
