// A host in a page: loads a plug-in, has its object linked to the device, asks what runs there, and releases it. It
// writes nothing to the device.
//
//   minimal_host PLUGIN.so [CLASS]
//
// Exit status: 0 the version was read; 1 the plug-in cannot be used; 2 usage; 3 the device did not answer.
#include <dlfcn.h>

#include <cstdio>
#include <filesystem>

#include "host/DllCommon.h"
#include "host/EntryPoints.h"
#include "host/Results.h"

namespace {

// Asks a linked object. What the plug-in answers it answers on this thread, and some of it only after pauses.
int Ask(CVendor& vendor) {
  std::list<CNecessaryComponentInfo> missing;
  vendor.GetShortageOfNecessaryApplicationInfo(missing);  // appends
  for (const CNecessaryComponentInfo& component : missing) {
    std::printf("missing:   %s\n", component.name.c_str());
  }
  CFirmware& firmware = *vendor.GetFirmwareHandler();  // stays the vendor object's
  const std::string version = firmware.GetOperatingVersion();
  std::printf("version:   %s\n", version.c_str());
  if (version == host::kAbnormalVersion) {
    return 3;
  }
  std::printf("update:    %s\n", firmware.PreUpdate("", "", nullptr, false) == host::kSuccess ? "can be tried" : "no");
  return 0;
}

// From the factory to the release.
int Use(host::VendorFactory create, host::VendorReleaser release, const char* className) {
  CVendor* vendor = create(className, "minimal host");
  if (vendor == nullptr) {
    std::fprintf(stderr, "The plug-in has no class %s.\n", className);
    return 1;
  }
  vendor->LinkDevice();  // says nothing: whether there is a firmware handler now is its result
  std::printf("class:     %s\n", vendor->GetVendorClassName().c_str());
  int status = 1;
  if (vendor->GetFirmwareHandler() != nullptr) {
    status = Ask(*vendor);
  } else {
    std::fprintf(stderr, "The plug-in made no firmware handler.\n");
  }
  release(vendor);  // never delete: the memory is the plug-in's
  return status;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2 && count != 3) {
    std::fprintf(stderr, "Usage: minimal_host PLUGIN.so [CLASS]\n");
    return 2;
  }
  // The plug-in keeps its files in the folder "tmp" below this one, which the host makes.
  std::printf("install:   %s\n", CFileUtility::GetInstallPath(host::kInstallation).c_str());
  // A name without a slash would be searched for. The libraries that the plug-in needs are loaded already: this
  // program is linked with them.
  const std::string path = std::filesystem::absolute(arguments[1]).string();
  void* plugin = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (plugin == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  const auto create = reinterpret_cast<host::VendorFactory>(dlsym(plugin, "GetVendorFactory"));
  const auto release = reinterpret_cast<host::VendorReleaser>(dlsym(plugin, "ReleaseVendor"));
  int status = 1;
  if (create != nullptr && release != nullptr) {
    status = Use(create, release, count == 3 ? arguments[2] : "CBMC_KESTREL_Vendor");
  } else {
    std::fprintf(stderr, "%s lacks an entry point.\n", path.c_str());
  }
  dlclose(plugin);  // after the last release
  return status;
}
