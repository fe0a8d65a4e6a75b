// What a process holds open, to see what a plug-in leaves behind.
#ifndef ORVHOST_VALIDATION_HOLDINGS_H
#define ORVHOST_VALIDATION_HOLDINGS_H

#include "orvhost/validation/isolated_check.h"

namespace orvhost {

// File descriptors and threads of this process, at the moment that the object is made.
struct Holdings {
  Holdings();

  long descriptors;
  long threads;
};

// Fails when there is more now.
[[nodiscard]] CheckResult NothingIsLeftSince(const Holdings& before);

}  // namespace orvhost

#endif  // ORVHOST_VALIDATION_HOLDINGS_H
