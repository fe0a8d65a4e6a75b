// A plug-in that does nothing but what every load of the real one has a shell do: the floor of what loading costs.
#include <cstdlib>
#include <string>

#include "host/DllCommon.h"
#include "host/EntryPoints.h"

CVendor* GetVendorFactory(const char*, const char*) {
  const std::string pattern = CFileUtility::GetInstallPath(0) + "/tmp/KV6KBMC/IPMIResult*";
  if (std::system(("rm -f \"" + pattern + "\"").c_str()) != 0) {
    std::abort();
  }
  return nullptr;
}
