#include "refhost/driver/status_words.h"

#include "refhost/module_state.h"

namespace refhost {

std::string InWords(int updateStatus) {
  switch (updateStatus) {
    case kUpdateRegistered:
      return "a package is registered, nothing is written";
    case kUpdateRunning:
      return "cut off while it was written";
    case kUpdateWritten:
      return "written, waits for \"orvhost apply\" and \"orvhost verify\"";
    case kUpdateFailed:
      return "failed";
    case kUpdateVerified:
      return "verified";
    default:
      return "none";
  }
}

}  // namespace refhost
