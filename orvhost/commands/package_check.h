// How "check" and "update" judge a package for this machine: by reading it and by asking the plug-in and the BMC.
// Changes nothing.
#ifndef ORVHOST_COMMANDS_PACKAGE_CHECK_H
#define ORVHOST_COMMANDS_PACKAGE_CHECK_H

#include <string>

#include "orvhost/run/run.h"
#include "orvhost/trace/fit_watch.h"
#include "refhost/package.h"

namespace orvhost {

// How the package's version stands to the running one.
struct Comparison {
  std::string verdict;   // "newer", "older", "same" or "not-comparable"
  std::string sentence;  // the same for people, with both versions and the reason
};

class PackageCheck {
 public:
  // Judges the package that the command line names; findings and failures go to `*outcome`, which must outlive this.
  PackageCheck(const Run& run, Outcome* outcome);

  // Reads the package's description, for which no plug-in is needed. False, with the outcome complete, when it cannot.
  [[nodiscard]] bool Read();

  // Only after Read() answered true. Takes every step up to reading the running version, which is then in `before` of
  // the outcome. False when the package is not for this machine or a step failed; the outcome is then complete.
  [[nodiscard]] bool Judge(const Session& session);

  // Only after Judge() answered true. The plug-in compares, but the same text is the same version whatever its form.
  [[nodiscard]] Comparison Compare(const Session& session) const;

  [[nodiscard]] const std::string& PackagePath() const { return packagePath_; }
  [[nodiscard]] const refhost::PackageManifest& Manifest() const { return manifest_; }

 private:
  [[nodiscard]] bool CheckServerType();
  [[nodiscard]] bool CheckFit(const Session& session);
  [[nodiscard]] bool RefusedByPlugin(const FitWatch& seen);
  [[nodiscard]] bool DoesNotFit(const std::string& cause, const std::string& nextStep = kOtherPackage);

  static constexpr const char* kOtherPackage = "Get the package that is made for this machine.";

  const Run& run_;
  Outcome* const outcome_;
  const std::string packagePath_;
  refhost::PackageManifest manifest_;
};

// What the host calls the module that it installs.
inline constexpr const char* kModuleId = "kestrel_bmc";

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_PACKAGE_CHECK_H
