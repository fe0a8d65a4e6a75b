// One IPMI request and its reply as values: what the procedures of the plug-in are written with.
#ifndef IPMI_IPMI_EXCHANGE_H
#define IPMI_IPMI_EXCHANGE_H

#include <cstddef>
#include <list>
#include <string>

namespace kestrel {

// NetFn, Cmd and data bytes, each two hexadecimal digits. Those of a room stand in its requests.h.
using IpmiRequest = std::list<std::string>;

class IpmiReply {
 public:
  // No answer.
  IpmiReply() : ran_(false) {}

  // `ran`: the tool ran and its answer was read. `elements`: completion code, then data bytes, as far as they were
  // read.
  IpmiReply(bool ran, std::list<std::string> elements);

  // False also when the answer could not be read; CompletionCode() may then still hold what was read of it.
  [[nodiscard]] bool Ran() const { return ran_; }

  // Element `index`, or "" when the reply has none: 0 the completion code, from 1 on the data bytes.
  [[nodiscard]] std::string Element(std::size_t index) const;
  [[nodiscard]] std::string CompletionCode() const { return Element(0); }

  // The tool ran and the BMC took the request.
  [[nodiscard]] bool Succeeded() const { return ran_ && CompletionCode() == "00"; }

  // The same, and the first data byte is `byte`.
  [[nodiscard]] bool Succeeded(const std::string& byte) const { return Succeeded() && Element(1) == byte; }

  [[nodiscard]] const std::list<std::string>& Elements() const { return elements_; }

 private:
  bool ran_;
  std::list<std::string> elements_;
};

// Sends `request` once through the tool at `toolPath`.
[[nodiscard]] IpmiReply Exchange(const std::string& toolPath, const IpmiRequest& request);

}  // namespace kestrel

#endif  // IPMI_IPMI_EXCHANGE_H
