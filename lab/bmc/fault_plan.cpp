// See fault_plan.h.
#include "lab/bmc/fault_plan.h"

#include <algorithm>

namespace kv6000 {

void FaultPlan::Order(std::uint8_t netfn, std::uint8_t cmd, const Fault& fault, unsigned count) {
  entries_[{netfn, cmd}] = Entry{fault, count, count == 0};
}

void FaultPlan::Clear() {
  entries_.clear();
}

std::optional<Fault> FaultPlan::Next(std::uint8_t netfn, std::uint8_t cmd) const {
  const auto found = entries_.find({netfn, cmd});
  return found == entries_.end() ? std::nullopt : std::optional(found->second.fault);
}

bool FaultPlan::Apply(std::uint8_t netfn, std::uint8_t cmd, std::vector<std::uint8_t>& answer) {
  const auto found = entries_.find({netfn, cmd});
  if (found == entries_.end()) {
    return true;
  }
  const Fault fault = found->second.fault;
  if (!found->second.always && --found->second.left == 0) {
    entries_.erase(found);
  }
  switch (fault.kind) {
    case Fault::Kind::kFail:
      answer.assign(1, fault.value);
      return true;
    case Fault::Kind::kShort:
      answer.resize(std::min<std::size_t>(answer.size(), fault.value));
      return true;
    case Fault::Kind::kLong:
      answer.resize(std::max<std::size_t>(answer.size(), fault.value));
      return true;
    case Fault::Kind::kSilent:
      break;
  }
  return false;
}

}  // namespace kv6000
