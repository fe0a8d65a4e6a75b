#include "orvhost/defaults.h"

#include <cstdlib>
#include <string_view>

#include "orvhost/trust/key_folder.h"

namespace orvhost {

namespace {

constexpr const char* kQuiet = "quiet";

// A laboratory may have a file of its own.
std::string ConfigurationPath() {
  const char* path = getenv("ORVHOST_LAB_MACHINE") != nullptr ? getenv("ORVHOST_LAB_CONFIGURATION") : nullptr;
  return path != nullptr ? path : kConfigurationFile;
}

}  // namespace

Defaults::Defaults(Options* options) : options_(options), path_(ConfigurationPath()) {
  if (std::string reason; !ReadConfiguration(path_, &configuration_, &reason)) {
    error_ = path_ + " cannot be used: " + reason + (reason.ends_with('?') ? "" : ".");
  }
  Take("install_path", "--install-path", &options->installPath);
  if (const char* path = getenv(kInstallPathVariable); path != nullptr && *path != '\0') {
    options->installPath = path;
    sources_.back().origin = std::string("environment, ") + kInstallPathVariable;
  }
  Take("plugin", "--plugin", &options->pluginPath);
  Take("server_type", "--server-type", &options->serverType);
  Take("log_file", "--log-file", &options->logFile);
  options->keyFolder = kKeyFolder;
  Take("signatures", nullptr, &options->signatures);
  Take("key_folder", nullptr, &options->keyFolder);
  std::string quiet = "no";
  Take(kQuiet, "--quiet", &quiet);
  options->quiet = quiet == "yes";
}

void Defaults::Take(const char* key, const char* option, std::string* value) {
  const auto found = configuration_.find(key);
  if (found != configuration_.end()) {
    *value = found->second;
  }
  sources_.push_back({key, option, std::string_view(key) == kQuiet ? nullptr : value,
                      found != configuration_.end() ? path_ : "built in"});
}

Setting Defaults::SignaturesByKeys() const {
  std::vector<std::string> keys;
  const bool isEmpty = ReadKeyFolder(options_->keyFolder, &keys).cause.empty() && keys.empty();
  return {"signatures", isEmpty ? "warn" : "required",
          "built in, since " + options_->keyFolder + (isEmpty ? " holds no key" : " is not empty")};
}

std::vector<Setting> Defaults::Settings(const CLI::App& app) const {
  std::vector<Setting> settings;
  for (const Source& source : sources_) {
    const std::string value = source.text != nullptr ? *source.text : options_->quiet ? "yes" : "no";
    if (source.text == &options_->signatures && value.empty()) {
      settings.push_back(SignaturesByKeys());
      continue;
    }
    const bool isGiven = source.option != nullptr && app.count(source.option) > 0;
    settings.push_back({source.key, value.empty() ? "none" : value, isGiven ? "command line" : source.origin});
  }
  return settings;
}

}  // namespace orvhost
