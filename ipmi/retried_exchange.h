// A request to the BMC that is sent again until its answer is accepted, alone or with a check of what it has brought
// about. What a failed attempt means, and how it is reported, is the caller's.
#ifndef IPMI_RETRIED_EXCHANGE_H
#define IPMI_RETRIED_EXCHANGE_H

#include <optional>
#include <string>
#include <utility>

#include "ipmi/ipmi_exchange.h"
#include "ipmi/retry.h"

namespace kestrel {

// Sends `request` until `accepts(reply)` or the policy's attempts are used up: the accepted reply, or nothing.
// `report(level, reply)` is called after each failed attempt, as Retry() calls it.
template <typename Accepts, typename Report>
[[nodiscard]] std::optional<IpmiReply> RetryExchange(const RetryPolicy& policy, const std::string& toolPath,
                                                     const IpmiRequest& request, Accepts accepts, Report report) {
  IpmiReply reply;
  const auto attempt = [&] {
    reply = Exchange(toolPath, request);
    return accepts(reply);
  };
  const bool accepted = Retry(policy, attempt, [&](Level level) { report(level, reply); });
  return accepted ? std::optional(std::move(reply)) : std::nullopt;
}

// Accepts every answer by which the BMC took the request.
template <typename Report>
[[nodiscard]] std::optional<IpmiReply> RetryExchange(const RetryPolicy& policy, const std::string& toolPath,
                                                     const IpmiRequest& request, Report report) {
  return RetryExchange(
      policy, toolPath, request, [](const IpmiReply& reply) { return reply.Succeeded(); }, report);
}

// A state that the BMC is put into by one request, which it does not confirm itself, and asked for by another.
struct BmcState {
  IpmiRequest set;
  IpmiRequest check;
  std::string expected;  // first data byte of the check's answer
};

// The set-then-check form: an attempt sets the state, calls `settle()` when the BMC took that, and checks the state.
// True when an attempt got that far. `report(level, set, check)` is called with both replies; without a check, the
// latter is no answer.
template <typename Settle, typename Report>
[[nodiscard]] bool RetrySetting(const RetryPolicy& policy, const std::string& toolPath, const BmcState& state,
                                Settle settle, Report report) {
  IpmiReply set;
  IpmiReply check;
  const auto attempt = [&] {
    check = IpmiReply();
    set = Exchange(toolPath, state.set);
    if (!set.Succeeded()) {
      return false;
    }
    settle();
    check = Exchange(toolPath, state.check);
    return check.Succeeded(state.expected);
  };
  return Retry(policy, attempt, [&](Level level) { report(level, set, check); });
}

// The state is checked at once.
template <typename Report>
[[nodiscard]] bool RetrySetting(const RetryPolicy& policy, const std::string& toolPath, const BmcState& state,
                                Report report) {
  return RetrySetting(
      policy, toolPath, state, [] {}, report);
}

}  // namespace kestrel

#endif  // IPMI_RETRIED_EXCHANGE_H
