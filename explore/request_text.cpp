#include "explore/request_text.h"

#include <array>
#include <cstdio>

#include "lab/hex_bytes.h"

namespace explore {

namespace {

const char* InWords(std::uint8_t completion) {
  switch (completion) {
    case 0xc0:
      return "Node busy";
    case 0xc1:
      return "Invalid command";
    case 0xc7:
      return "Request data length invalid";
    case 0xcb:
      return "Requested sensor, data, or record not found";
    case 0xcc:
      return "Invalid data field in request";
    case 0xce:
      return "Command response could not be provided";
    case 0xd5:
      return "Command not supported in present state";
    default:
      return "Unspecified error";
  }
}

std::string Between(const std::string& line, const std::string& before, const std::string& after) {
  const std::size_t begin = line.find(before);
  if (begin == std::string::npos) {
    return "";
  }
  const std::size_t end = line.find(after, begin + before.size());
  return line.substr(begin + before.size(), end == std::string::npos ? end : end - begin - before.size());
}

}  // namespace

std::optional<ToolCommand> ParseToolCommand(const std::string& line) {
  ToolCommand command;
  command.outputFile = Between(line, " > \"", "\"");
  std::string words = Between(line, "ipmitool\" raw ", " > ");
  if (words.empty() && line.starts_with("echo ")) {
    command.makersTool = true;
    words = Between(line, "echo ", " |");
  }
  for (std::size_t at = words.find("0x"); at != std::string::npos; at = words.find("0x")) {
    words.erase(at, 2);
  }
  const auto bytes = kv6000::ParseHex(words);
  if (!bytes || bytes->size() < 2) {
    return {};
  }
  command.request = *bytes;
  if (command.makersTool) {
    command.request[0] >>= 2U;
  }
  return command;
}

std::string IpmitoolText(const kv6000::Bytes& answer) {
  constexpr std::size_t kPerLine = 16;
  std::string text;
  for (std::size_t at = 1; at < answer.size(); ++at) {
    text += (at > 1 && (at - 1) % kPerLine == 0 ? "\n " : " ") + kv6000::FormatHex(answer[at]);
  }
  return text + "\n";
}

std::string IpmitoolFailure(const kv6000::Bytes& request, std::uint8_t completion) {
  std::array<char, 128> text{};
  std::snprintf(text.data(), text.size(),
                "Unable to send RAW command (channel=0x0 netfn=0x%x lun=0x0 cmd=0x%x rsp=0x%x): ", request[0],
                request[1], completion);
  return text.data() + std::string(InWords(completion)) + "\n";
}

std::string MakersToolText(const kv6000::Bytes& request, const kv6000::Bytes& answer) {
  kv6000::Bytes sent = request;
  sent[0] = static_cast<std::uint8_t>(sent[0] << 2U);
  const kv6000::Bytes head = {static_cast<std::uint8_t>(sent[0] + 4U), sent[1]};
  return "Request : " + kv6000::FormatHex(sent) + "\nResponse : " + kv6000::FormatHex(head) + " " +
         kv6000::FormatHex(answer) + "\n";
}

}  // namespace explore
