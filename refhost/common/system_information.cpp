// What CCommon_Information tells about the machine.
#include <sys/utsname.h>

#include <fstream>

#include "refhost/contract.h"
#include "refhost/settings.h"

namespace {

std::string Trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos) {
    return "";
  }
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::string DmiProductName() {
  std::ifstream file(refhost::CurrentSettings().systemRoot + "/sys/class/dmi/id/product_name");
  std::string line;
  std::getline(file, line);
  return Trimmed(line);
}

}  // namespace

std::string CCommon_Information::GetServerType(std::string /*module*/) {
  const std::string& configured = refhost::CurrentSettings().serverType;
  return CStringUtil::StringToLowerCase(configured.empty() ? DmiProductName() : configured);
}

std::string CCommon_Information::GetArchitectureInfo(const std::string& /*module*/) {
  utsname names{};
  return uname(&names) == 0 ? names.machine : "";
}

int CCommon_Information::GetIpmiServiceState(std::string /*module*/) {
  const std::string devices = refhost::CurrentSettings().systemRoot + "/dev/";
  const bool running = MyPathFileExists(devices + "ipmi0") || MyPathFileExists(devices + "ipmi/0") ||
                       MyPathFileExists(devices + "ipmidev/0");
  return running ? 0 : 1;
}
