// What the services look at to see that they are to give up; the public side is refhost/interruption.h.
#ifndef REFHOST_COMMON_INTERRUPT_SOURCE_H
#define REFHOST_COMMON_INTERRUPT_SOURCE_H

#include <poll.h>

namespace refhost {

// To be waited for beside everything else.
[[nodiscard]] pollfd InterruptSource();

// Takes note that a service gives something up.
void GiveUp();

// True when the services are to give up; the caller does, which is taken note of.
[[nodiscard]] bool MustGiveUp();

}  // namespace refhost

#endif  // REFHOST_COMMON_INTERRUPT_SOURCE_H
