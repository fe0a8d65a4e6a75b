// Ends early what the host's services wait for, for a program that is asked to end. When that is so, the program
// decides.
#ifndef REFHOST_INTERRUPTION_H
#define REFHOST_INTERRUPTION_H

#include "refhost/export.h"

namespace refhost {

// Once `descriptor` (the caller's; -1 for none, as at the start) is readable, no service waits any more: a pause is
// over, a command that runs is ended with its group, and no further one is started. The plug-in is answered as for a
// command that could not be run.
REFHOST_EXPORT void SetInterruptDescriptor(int descriptor);

// Whether a service of this process has given something up for that reason.
[[nodiscard]] REFHOST_EXPORT bool WasInterrupted();

}  // namespace refhost

#endif  // REFHOST_INTERRUPTION_H
