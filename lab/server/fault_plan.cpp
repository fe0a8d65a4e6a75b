// See fault_plan.h.
#include "lab/server/fault_plan.h"

#include <algorithm>
#include <iterator>

namespace kv6000 {

void FaultPlan::Order(const std::vector<std::uint8_t>& head, const Fault& fault, unsigned count) {
  entries_[head] = Entry{fault, count, count == 0};
}

void FaultPlan::Clear() {
  entries_.clear();
}

FaultPlan::Entries::const_iterator FaultPlan::Find(std::span<const std::uint8_t> request) const {
  // Of heads that begin alike the longer one is sorted after the shorter one, so the last that fits is the longest.
  const auto found = std::find_if(entries_.rbegin(), entries_.rend(), [&](const auto& entry) {
    const auto& head = entry.first;
    return head.size() <= request.size() && std::ranges::equal(head, request.first(head.size()));
  });
  return found == entries_.rend() ? entries_.end() : std::prev(found.base());
}

std::optional<Fault> FaultPlan::Next(std::span<const std::uint8_t> request) const {
  const auto found = Find(request);
  return found == entries_.end() ? std::nullopt : std::optional(found->second.fault);
}

bool FaultPlan::Apply(std::span<const std::uint8_t> request, std::vector<std::uint8_t>& answer) {
  const auto found = Find(request);
  if (found == entries_.end()) {
    return true;
  }
  const Fault fault = found->second.fault;
  Entry& entry = entries_.at(found->first);
  if (!entry.always && --entry.left == 0) {
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
