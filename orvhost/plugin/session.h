// A loaded plug-in with its vendor object, linked to the device: everything between GetVendorFactory and ReleaseVendor.
#ifndef ORVHOST_PLUGIN_SESSION_H
#define ORVHOST_PLUGIN_SESSION_H

#include <memory>
#include <string>
#include <utility>

#include "host/ProviderBase.h"
#include "host/Results.h"
#include "orvhost/plugin/plugin.h"

namespace orvhost {

// The one kind of module that the plug-in's device has.
inline constexpr const char* kModuleKind = host::kFirmwareKind;

// The vendor class that the host asks a plug-in for, and the name that it gives itself.
inline constexpr const char* kVendorClassName = "CBMC_KESTREL_Vendor";
inline constexpr const char* kProvider = "orvhost";

class Session {
 public:
  // Loads the plug-in at `pluginPath`, takes its vendor object and links it. Null, with the reason in `*error`, when
  // any of that fails.
  [[nodiscard]] static std::unique_ptr<Session> Open(const std::string& pluginPath, std::string* error);

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  [[nodiscard]] CVendor& Vendor() const { return *vendor_; }
  [[nodiscard]] CFirmware& Firmware() const { return *vendor_->GetFirmwareHandler(); }

 private:
  Session(std::unique_ptr<Plugin> plugin, CVendor* vendor) : plugin_(std::move(plugin)), vendor_(vendor) {}

  std::unique_ptr<Plugin> plugin_;
  CVendor* vendor_;
};

}  // namespace orvhost

#endif  // ORVHOST_PLUGIN_SESSION_H
