#include "refhost/catalogue.h"

#include <algorithm>
#include <array>

namespace refhost {
namespace {

constexpr auto kMessages = std::to_array<Message>({
    {"MSGID_BMC_0001_F", 1, "No IPMI tool is installed, so the BMC cannot be reached (%1)."},
    {"MSGID_BMC_0002_F", 1, "The firmware handler for the BMC could not be created (%1)."},
    {"MSGID_BMC_0003_F", 1, "The BMC did not take the reboot flag, so the new firmware was not activated (%1)."},
    {"MSGID_BMC_0004_F", 1, "The machine could not be shut down to activate the new firmware (%1)."},
    {"MSGID_BMC_0008_F", 1, "A firmware version is not in the form that can be compared (%1)."},
    {"MSGID_BMC_0009_F", 1, "A step of the update failed on this machine, outside the BMC (%1)."},
    {"MSGID_BMC_0011_F", 1, "The update was stopped because the BMC does not tell its firmware version (%1)."},
    {"MSGID_BMC_0012_F", 1, "The BMC did not carry out a command that the update needs (%1)."},
    {"MSGID_BMC_0013_F", 1, "The flash tool did not succeed in writing the firmware (%1)."},
    {"MSGID_BMC_0014_F", 1, "The update could not be checked because the BMC does not tell its firmware version (%1)."},
    {"MSGID_BMC_0015_F", 2, "The BMC runs firmware version %1, but version %2 was installed."},
    {"MSGID_BMC_0016_F", 1, "The update cannot be started (%1)."},
    {"MSGID_BMC_0018_F", 1, "The device configuration report could not be made (%1)."},
    {"MSGID_BMC_0019_F", 1, "The device configuration report cannot be started (%1)."},
    {"MSGID_BMC_0020_F", 1, "The update package does not hold what the update needs (%1)."},
    {"MSGID_BMC_0021_F", 1, "The information could not be sent to the service processor (%1)."},
    {"MSGID_BMC_0022_F", 1, "The operating system's information could not be gathered (%1)."},
    {"MSGID_BMC_0023_F", 1, "The disk information could not be gathered (%1)."},
    {"MSGID_BMC_0024_F", 0, "The disk information could not be gathered: the management library reports error 02."},
    {"MSGID_BMC_0025_F", 0, "The disk information could not be gathered: the management library reports error 01."},
    {"MSGID_BMC_0026_F", 1, "The disk information could not be gathered: the management library failed (%1)."},
    {"MSGID_BMC_0027_F", 1, "The update script did not write the firmware and sensor records successfully (%1)."},
});

struct Detail {
  std::string_view code;
  std::string_view meaning;
};

constexpr auto kDetails = std::to_array<Detail>({
    {"08", "creating the firmware handler failed"},
    {"09", "the first version is malformed"},
    {"0A", "the second version is malformed"},
    {"0B", "no IPMI tool"},
    {"0F", "the work folder could not be emptied"},
    {"10", "the package could not be unpacked"},
    {"11", "the package holds no firmware image or update script"},
    {"13", "the BMC refused write mode"},
    {"14", "the BMC did not connect its virtual media"},
    {"15", "the update script ran longer than allowed"},
    {"16", "the flash tool reported an error"},
    {"17", "a file or folder in the scratch directory could not be read or written"},
    {"18", "the BMC refused the reboot flag"},
    {"19", "the shutdown command failed"},
    {"1A", "the reboot command failed"},
    {"1C", "the firmware version could not be read from the BMC"},
    {"1D", "the update marker could not be deleted"},
    {"1E", "the flash tool could not work with the device"},
    {"1F", "the BMC did not stop its own waiting"},
    {"23", "neither of the IPMI tools is installed"},
    {"24", "the flash tool is missing"},
    {"26", "a part of the information could not be obtained"},
    {"27", "the report file could not be written"},
    {"28", "the disk information is missing or malformed"},
    {"29", "a step of the transfer to the service processor failed"},
    {"2A", "the SCSI generic driver could not be loaded"},
    {"2B", "the update script's result is not good"},
    {"2C", "the sensor record log is missing"},
    {"2D", "the flash log is missing"},
    {"2E", "the sensor records were not written"},
    {"2F", "the firmware was not written"},
});

std::string WithMeaning(const std::string& insert) {
  const std::string meaning = DetailMeaning(insert);
  return meaning.empty() ? insert : insert + ": " + meaning;
}

}  // namespace

const Message* FindMessage(std::string_view id) {
  const auto* found = std::find_if(kMessages.begin(), kMessages.end(), [id](const Message& m) { return m.id == id; });
  return found != kMessages.end() ? found : nullptr;
}

std::string Sentence(const Message& message, const std::vector<std::string>& inserts) {
  std::string text;
  for (size_t i = 0; i < message.sentence.size(); ++i) {
    if (message.sentence[i] != '%') {
      text += message.sentence[i];
      continue;
    }
    const auto index = static_cast<size_t>(message.sentence[++i] - '1');
    const std::string insert = index < inserts.size() ? inserts[index] : "";
    text += message.insertCount == 1 ? WithMeaning(insert) : insert;
  }
  return text;
}

std::string DetailMeaning(std::string_view detail) {
  std::string meaning;
  for (size_t i = 0; i < detail.size();) {
    const std::string_view code = detail.substr(i, 2);
    const auto* found =
        std::find_if(kDetails.begin(), kDetails.end(), [code](const Detail& d) { return d.code == code; });
    if (found == kDetails.end()) return "";
    int times = 0;
    for (; detail.substr(i, 2) == code; i += 2) ++times;
    if (!meaning.empty()) meaning += "; ";
    meaning += found->meaning;
    if (times > 1) meaning += " (" + std::to_string(times) + " times)";
  }
  return meaning;
}

}  // namespace refhost
