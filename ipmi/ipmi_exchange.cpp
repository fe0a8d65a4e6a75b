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

IpmiReply Exchange(const std::string& toolPath, std::string_view request) {
  constexpr std::size_t kDigits = 2;
  IpmiRequest bytes;
  for (std::size_t at = 0; at < request.size(); at += kDigits + 1) {
    bytes.emplace_back(request.substr(at, kDigits));
  }
  return Exchange(toolPath, bytes);
}

}  // namespace kestrel
