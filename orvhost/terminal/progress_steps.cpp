#include "orvhost/terminal/progress_steps.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

#include "host/DllCommon.h"

namespace orvhost {

namespace {

constexpr int kAttempts = 3;  // of every request to the BMC, and of the flash tool

struct Entry {
  std::string_view start;  // how the line, or the request, begins
  std::string_view words;
};

constexpr std::string_view kFlashing = "Writing the firmware";

// A line that begins so begins a step. Longer beginnings stand before shorter ones of the same kind.
constexpr auto kLines = std::to_array<Entry>({
    {"CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor() [START]", "Starting the plug-in"},
    {"CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [START]", "Ending the plug-in"},
    {"CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo() [START]", "Looking for what the plug-in needs"},
    {"CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() [START]", "Checking whether the package fits"},
    {"CBMC_KESTREL_Vendor::GetExtendedInfo() [START]", "Reading the machine's serial number"},
    {"CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [START]", "Starting the report"},
    {"CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [START]", "Gathering the report"},
    {"CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", "Reading the BMC's firmware version"},
    {"CBMC_KESTREL_Firmware::PreUpdate() [START]", "Preparing the update"},
    {"CBMC_KESTREL_Firmware::Update() [START]", "Preparing the update"},
    {"CBMC_KESTREL_Firmware::UpdateApplyCheck() [START]", "Comparing the running version with the installed one"},
    {"CBMC_KESTREL_Firmware::UpdateApply() [START]", "Putting the firmware into operation"},
    {"CBMC_KESTREL_Firmware::ExecSendOSInfo [START]", "Sending the operating system's record"},
    {"CBMC_KESTREL_Firmware::ExecSendHddInfo [START]", "Sending the disks' record"},
    {"Compare Version", "Comparing the versions"},
    {"Exec [lsmod", "Loading the SCSI generic driver"},
    {"Exec [modprobe", "Loading the SCSI generic driver"},
    {"[chmod +x", "Preparing the update script"},
    {"Yafuflash command return=", "Finishing the update"},
    {"Delete ", "Taking the machine down"},
    {"shutdown -", "Taking the machine down"},
});

// A command with that request begins a step.
constexpr auto kRequests = std::to_array<Entry>({
    {"06 01", "Reading the BMC's firmware version"},
    {"36 03", "Switching the BMC to write mode"},
    {"34 8c 55 aa 01", "Connecting the virtual media"},
    {"34 8d", "Connecting the virtual media"},
    {"34 8c 55 aa 00", "Disconnecting the virtual media"},
    {"34 2c", "Stopping the BMC's own waiting"},
    {"34 2d", "Stopping the BMC's own waiting"},
    {"34 5e", "Arming the BMC's reboot flag"},
    {"34 5f", "Arming the BMC's reboot flag"},
    {"0a 20", "Reading the sensor records' version"},
    {"0a 23", "Reading the sensor records' version"},
    {"3c 04", "Asking the BMC what it supports"},
});

template <typename Entries>
const Entry* Find(const Entries& entries, std::string_view text) {
  const auto found =
      std::ranges::find_if(entries, [text](const Entry& entry) { return text.starts_with(entry.start); });
  return found != entries.end() ? &*found : nullptr;
}

// Both tools' requests in one form: the maker's takes the network function shifted left by two.
std::string InOneForm(const std::string& words, bool shifted) {
  std::istringstream stream(words);
  std::string request;
  for (std::string word; stream >> word;) {
    if (word.starts_with("0x")) {
      word.erase(0, 2);
    }
    if (word.size() != 2 || word.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
      break;
    }
    if (shifted && request.empty()) {
      std::array<char, 3> text{};
      snprintf(text.data(), text.size(), "%02x", static_cast<unsigned>(std::stoul(word, nullptr, 16)) >> 2U & 0x3fU);
      word = text.data();
    }
    request += (request.empty() ? "" : " ") + word;
  }
  return request;
}

}  // namespace

std::string RequestIn(std::string_view line) {
  constexpr std::string_view kCommand = "Execute command [";
  constexpr std::string_view kEcho = "echo ";
  constexpr std::string_view kRaw = " raw ";
  if (!line.starts_with(kCommand)) {
    return "";
  }
  line.remove_prefix(kCommand.size());
  if (line.starts_with(kEcho)) {
    return InOneForm(std::string(line.substr(kEcho.size())), true);
  }
  const std::size_t raw = line.find(kRaw);
  return raw == std::string_view::npos ? "" : InOneForm(std::string(line.substr(raw + kRaw.size())), false);
}

void ProgressSteps::Take(const refhost::TraceRecord& record) {
  const std::string_view text = record.text;
  if (record.level == CTraceUtility::TRACE_DBG_RETRY) {
    // How often the flash tool was started tells its attempts; what follows it is a new beginning.
    if (step_.words != kFlashing) {
      step_.attempt = std::min(step_.attempt + 1, step_.attempts);
    }
  } else if (text.starts_with("Execute:")) {
    Enter(kFlashing, kAttempts);
    step_.attempt = std::min(++flashRuns_, kAttempts);
  } else if (text.starts_with("[") && text.find("/bmcup.sh < ") != std::string_view::npos) {
    Enter("Writing the firmware by the package's script", 1);
  } else if (text.starts_with("Record Num [")) {
    step_.attempt = 1;  // of the next sensor record
  } else if (const Entry* request = Find(kRequests, RequestIn(text))) {
    Enter(request->words, kAttempts);
  } else if (const Entry* line = Find(kLines, text)) {
    if (text.starts_with("CBMC_KESTREL_Firmware::Update() ")) {
      flashRuns_ = 0;
    }
    Enter(line->words, 1);
  }
}

void ProgressSteps::Enter(std::string_view words, int attempts) {
  if (step_.words != words) {
    step_.attempt = 1;
  }
  step_.words = words;
  step_.attempts = std::max(attempts, step_.attempt);
}

}  // namespace orvhost
