#include "ipmi/ipmi_exchange.h"

#include <iterator>
#include <utility>

#include "ipmi/raw_command.h"

namespace kestrel {

IpmiReply::IpmiReply(bool ran, std::list<std::string> elements) : ran_(ran), elements_(std::move(elements)) {}

std::string IpmiReply::Element(std::size_t index) const {
  return index < elements_.size() ? *std::next(elements_.begin(), static_cast<std::ptrdiff_t>(index)) : "";
}

IpmiReply Exchange(const std::string& toolPath, const IpmiRequest& request) {
  std::list<std::string> elements;
  const bool ran = ExecuteIpmiCommand(toolPath, &elements, request);
  return {ran, std::move(elements)};
}

}  // namespace kestrel
