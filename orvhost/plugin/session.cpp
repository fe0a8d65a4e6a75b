#include "orvhost/plugin/session.h"

namespace orvhost {

std::unique_ptr<Session> Session::Open(const std::string& pluginPath, std::string* error) {
  std::unique_ptr<Plugin> plugin = Plugin::Load(pluginPath, error);
  if (!plugin) {
    return nullptr;
  }
  CVendor* vendor = plugin->Create(kVendorClassName, kProvider);
  if (vendor == nullptr) {
    *error = pluginPath + " has no vendor object of the class " + kVendorClassName;
    return nullptr;
  }
  std::unique_ptr<Session> session(new Session(std::move(plugin), vendor));
  vendor->LinkDevice();
  if (vendor->GetFirmwareHandler() != nullptr) {
    return session;
  }
  *error = pluginPath + " could not create its firmware handler";
  return nullptr;
}

Session::~Session() {
  plugin_->Release(vendor_);
}

}  // namespace orvhost
