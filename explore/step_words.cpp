#include "explore/step_words.h"

#include <algorithm>
#include <array>

#include "explore/disk.h"
#include "explore/request_text.h"
#include "lab/hex_bytes.h"

namespace explore {

namespace {

struct FileWords {
  std::string_view part;
  std::string_view words;
};

// The first that a path holds.
constexpr auto kFiles = std::to_array<FileWords>({
    {"all files", "all files"},
    {"orvhost.lock", "the lock"},
    {"orvhost.writer", "the note of the last writer"},
    {"orvhost.run", "the note beside the lock"},
    {"/journal", "the journal"},
    {"/repository", "the records"},
    {".orvhost-package", "the staged package"},
    {"/srv/packages", "the package"},
    {"IPMIResult", "the IPMI tool's answer"},
    {"ExistUpdate", "the update marker"},
    {"/srv/reports", "the report"},
    {"Kestrel_BmcConfigInfo", "the report"},
    {"/srv/orv/KV6KBMC/", "the flash tool's file"},
    {"sdronup.log", "the script's logs"},
    {"BmcFlash_log", "the script's logs"},
    {"/srv/orv/tmp", "the scratch folder"},
    {"product_name", "the product name"},
    {"ipmitool", "the IPMI tools' files"},
    {"ipmicmd", "the IPMI tools' files"},
    {"redhat-release", "the system's name"},
    {"/run/orvhost", "the machine's folder"},
});

struct BmcCommand {
  std::uint8_t netfn;
  std::uint8_t cmd;
  std::string_view name;
};

// As docs/ipmi-commands.md names them.
constexpr auto kBmcCommands = std::to_array<BmcCommand>({
    {0x06, 0x01, "Get Device ID"},
    {0x0a, 0x20, "Get SDR Repository Info"},
    {0x0a, 0x23, "Get SDR"},
    {0x0c, 0x02, "Get LAN Configuration Parameters"},
    {0x36, 0x03, "Change Write mode"},
    {0x34, 0x8c, "connect or disconnect the virtual media"},
    {0x34, 0x8d, "Check Connect Virtual Device"},
    {0x34, 0x2c, "Wait Disabled"},
    {0x34, 0x2d, "Check Wait Disable"},
    {0x34, 0x5e, "Set Reboot flag"},
    {0x34, 0x5f, "Set Reboot flag, check"},
    {0x3c, 0x13, "Get Tcpip Info"},
    {0x3c, 0x04, "Get Capability"},
    {0x3c, 0x6a, "OEM Lock Server Config File"},
    {0x3c, 0x69, "OEM Write Server Config File"},
    {0x3c, 0x6b, "OEM UnLock Server Config File"},
    {0x34, 0x39, "OEM Notify ORV Event"},
});

std::string NameOfCommand(const ToolCommand& command) {
  const auto* found = std::ranges::find_if(kBmcCommands, [&command](const BmcCommand& one) {
    return command.request[0] == one.netfn && command.request[1] == one.cmd;
  });
  return found != kBmcCommands.end() ? " (" + std::string(found->name) + ")" : "";
}

// The bytes that tell a request from every other, without those that it carries.
std::string RequestWords(const ToolCommand& command) {
  constexpr std::size_t kTelling = 5;
  constexpr std::size_t kOfFiles = 4;
  const std::size_t size = command.request[0] == 0x3c ? kOfFiles : command.request[0] == 0x0a ? 2 : kTelling;
  return kv6000::FormatHex(std::span(command.request).first(std::min(size, command.request.size())));
}

std::string CommandWords(const std::string& line) {
  for (const std::string_view name :
       {"Yafuflash", "lsmod", "modprobe", "chmod", "shutdown -h", "shutdown -r", "touch", "rm -f", "redhat-release"}) {
    if (line.find(name) != std::string::npos) {
      return std::string(name);
    }
  }
  const std::size_t quote = line.find('"');
  return line.starts_with("/usr/sbin/dmidecode") && quote != std::string::npos ? "dmidecode " + line.substr(quote)
                                                                               : line;
}

}  // namespace

std::string StepOf(const Event& event) {
  const std::string kind(event.kind == EventKind::kFolder ? "make the folder of" : NameOf(event.kind));
  if (event.kind == EventKind::kPause || event.kind == EventKind::kScript) {
    return kind == "pause" ? "pause of " + event.what : event.what;
  }
  if (const auto command = ParseToolCommand(event.what); command && event.kind == EventKind::kRequest) {
    return "request " + RequestWords(*command) + NameOfCommand(*command);
  }
  if (event.kind <= EventKind::kScript) {
    return CommandWords(event.what);
  }
  if (event.what == kInstallPath) {
    return kind + " the install path";
  }
  const auto file = std::ranges::find_if(
      kFiles, [&](const FileWords& one) { return event.what.find(one.part) != std::string::npos; });
  return kind + " " + (file != kFiles.end() ? std::string(file->words) : "a file of the package");
}

}  // namespace explore
