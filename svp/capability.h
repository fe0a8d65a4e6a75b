// Asks the BMC which server config files it takes. What an unanswered or negative question means, and how it is
// reported, is the sender's.
#ifndef SVP_CAPABILITY_H
#define SVP_CAPABILITY_H

#include <functional>
#include <optional>
#include <string>

#include "ipmi/retry.h"

namespace kestrel {

// A BMC that does not answer is given more time after every attempt.
inline constexpr RetryPolicy kCapabilityRetry{3, 5000, 5000};

// The BMC's support flags, one bit for each file (ConfigFile::supportBit); 0 for an answer that ends before them.
// Nothing when no attempt was answered; the completion code of an answer is of no interest. `reportFailure` is called
// as Retry() calls it.
[[nodiscard]] std::optional<int> ReadSupportFlags(const std::string& toolPath,
                                                  const std::function<void(Level level)>& reportFailure);

}  // namespace kestrel

#endif  // SVP_CAPABILITY_H
