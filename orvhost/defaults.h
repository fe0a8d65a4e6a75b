// What holds where the command line says nothing: the environment, the configuration file, what is built in.
#ifndef ORVHOST_DEFAULTS_H
#define ORVHOST_DEFAULTS_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "orvhost/interface/configuration.h"
#include "orvhost/interface/options.h"

namespace orvhost {

class Defaults {
 public:
  // Puts them into `*options`, which has what is built in. `*options` must outlive this object.
  explicit Defaults(Options* options);

  // The settings that hold once `app` has read the command line into the options, with where each comes from.
  [[nodiscard]] std::vector<Setting> Settings(const CLI::App& app) const;

  // Why the configuration file cannot be used, a sentence; "" when it can.
  [[nodiscard]] const std::string& Error() const { return error_; }

 private:
  struct Source {
    const char* key;
    const char* option;       // null for one that only the configuration file has
    const std::string* text;  // null for the one that is yes or no
    std::string origin;
  };

  // What becomes of packages where the configuration does not say so.
  [[nodiscard]] Setting SignaturesByKeys() const;

  void Take(const char* key, const char* option, std::string* value);

  const Options* const options_;
  const std::string path_;
  Configuration configuration_;
  std::vector<Source> sources_;
  std::string error_;
};

}  // namespace orvhost

#endif  // ORVHOST_DEFAULTS_H
