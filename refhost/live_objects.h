// How many objects of plug-ins there are: their base classes are the host's, so it sees them come and go.
#ifndef REFHOST_LIVE_OBJECTS_H
#define REFHOST_LIVE_OBJECTS_H

#include "refhost/export.h"

namespace refhost {

struct LiveObjects {
  long vendors = 0;
  long modules = 0;  // firmware handlers
};

[[nodiscard]] REFHOST_EXPORT LiveObjects CountLiveObjects();

}  // namespace refhost

#endif  // REFHOST_LIVE_OBJECTS_H
