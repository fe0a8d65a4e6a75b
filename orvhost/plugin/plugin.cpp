#include "orvhost/plugin/plugin.h"

#include <dlfcn.h>

#include <filesystem>

namespace orvhost {

std::unique_ptr<Plugin> Plugin::Load(const std::string& path, std::string* error) {
  // Without a separator dlopen would look through the library path instead.
  const std::string absolute = std::filesystem::absolute(path).string();
  void* library = dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::error_code ignored;
    const bool isThere = std::filesystem::exists(absolute, ignored);
    *error = isThere ? dlerror() : "there is no file " + absolute;
    return nullptr;
  }
  std::unique_ptr<Plugin> plugin(new Plugin(library));
  plugin->factory_ = reinterpret_cast<host::VendorFactory>(dlsym(library, "GetVendorFactory"));
  plugin->releaser_ = reinterpret_cast<host::VendorReleaser>(dlsym(library, "ReleaseVendor"));
  if (plugin->factory_ != nullptr && plugin->releaser_ != nullptr) {
    return plugin;
  }
  *error = absolute + " has no entry point " + (plugin->factory_ == nullptr ? "GetVendorFactory" : "ReleaseVendor");
  return nullptr;
}

Plugin::~Plugin() {
  dlclose(library_);
}

CVendor* Plugin::Create(const char* className, const char* provider) const {
  return factory_(className, provider);
}

void Plugin::Release(CVendor* vendor) const {
  releaser_(vendor);
}

}  // namespace orvhost
