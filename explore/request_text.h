// The two IPMI tools' command lines and outputs.
#ifndef EXPLORE_REQUEST_TEXT_H
#define EXPLORE_REQUEST_TEXT_H

#include <optional>
#include <string>

#include "lab/bmc/command_table.h"

namespace explore {

struct ToolCommand {
  bool makersTool = false;
  kv6000::Bytes request;  // NetFn, command, data
  std::string outputFile;
};

// Nothing for a line that asks the BMC nothing.
[[nodiscard]] std::optional<ToolCommand> ParseToolCommand(const std::string& line);

// What ipmitool prints of the data bytes of an answer, and why it fails.
[[nodiscard]] std::string IpmitoolText(const kv6000::Bytes& answer);
[[nodiscard]] std::string IpmitoolFailure(const kv6000::Bytes& request, std::uint8_t completion);

// What the maker's tool prints.
[[nodiscard]] std::string MakersToolText(const kv6000::Bytes& request, const kv6000::Bytes& answer);

}  // namespace explore

#endif  // EXPLORE_REQUEST_TEXT_H
