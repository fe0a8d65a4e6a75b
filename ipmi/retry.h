// The plug-in's one way to try something again: a bounded number of attempts with pauses between them.
#ifndef IPMI_RETRY_H
#define IPMI_RETRY_H

#include "ipmi/trace.h"

namespace kestrel {

struct RetryPolicy {
  int attempts;             // at least 1
  unsigned long pause;      // milliseconds after the first failed attempt
  unsigned long pauseStep;  // milliseconds by which every further pause is longer
};

// A BMC that is busy needs seconds to answer again.
inline constexpr RetryPolicy kBmcRetry{3, 10000, 0};
// For a program on this machine.
inline constexpr RetryPolicy kLocalRetry{3, 1000, 0};

// Calls `attempt()` until it returns true or the policy's attempts are used up; true when one succeeded. After each
// failed attempt `report(level)` is called, before the pause: with kRetry while another attempt follows, with kError at
// the last.
template <typename Attempt, typename Report>
[[nodiscard]] bool Retry(const RetryPolicy& policy, Attempt attempt, Report report) {
  unsigned long pause = policy.pause;
  for (int number = 1; !attempt(); ++number) {
    if (number == policy.attempts) {
      report(kError);
      return false;
    }
    report(kRetry);
    Sleep(pause);
    pause += policy.pauseStep;
  }
  return true;
}

}  // namespace kestrel

#endif  // IPMI_RETRY_H
