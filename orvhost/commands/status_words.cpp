#include "orvhost/commands/status_words.h"

#include "refhost/module_state.h"

namespace orvhost {

std::string InWords(int updateStatus) {
  switch (updateStatus) {
    case refhost::kUpdateRegistered:
      return "a package is registered, nothing is written";
    case refhost::kUpdateRunning:
      return "cut off while it was written";
    case refhost::kUpdateWritten:
      return "written, waits for \"orvhost apply\" and \"orvhost verify\"";
    case refhost::kUpdateFailed:
      return "failed";
    case refhost::kUpdateVerified:
      return "verified";
    default:
      return "none";
  }
}

}  // namespace orvhost
