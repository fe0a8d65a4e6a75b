// A plug-in's shared library in memory, with its two entry points.
#ifndef ORVHOST_PLUGIN_PLUGIN_H
#define ORVHOST_PLUGIN_PLUGIN_H

#include <memory>
#include <string>

#include "host/EntryPoints.h"

namespace orvhost {

class Plugin {
 public:
  // Loads the library at `path`. Null, with the reason in `*error`, when it cannot be loaded or lacks an entry point.
  [[nodiscard]] static std::unique_ptr<Plugin> Load(const std::string& path, std::string* error);

  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;
  ~Plugin();

  // The plug-in's vendor object of that class, to be handed back to Release; null when the plug-in has none.
  [[nodiscard]] CVendor* Create(const char* className, const char* provider) const;
  void Release(CVendor* vendor) const;

 private:
  explicit Plugin(void* library) : library_(library) {}

  void* library_;
  host::VendorFactory factory_ = nullptr;
  host::VendorReleaser releaser_ = nullptr;
};

}  // namespace orvhost

#endif  // ORVHOST_PLUGIN_PLUGIN_H
