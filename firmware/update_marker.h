// The update marker: a file that says that a flashed update waits for the reboot that makes it active. The update
// leaves it, applying the update takes it away.
#ifndef FIRMWARE_UPDATE_MARKER_H
#define FIRMWARE_UPDATE_MARKER_H

#include <string>

#include "ipmi/scratch_directory.h"

namespace kestrel {

// Path of the marker.
[[nodiscard]] inline std::string UpdateMarker() {
  return ScratchDirectory() + "/" + "ExistUpdate.txt";
}

}  // namespace kestrel

#endif  // FIRMWARE_UPDATE_MARKER_H
