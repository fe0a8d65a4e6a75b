// How "check" and "update" judge a package for this machine: by reading it and by asking the plug-in and the BMC.
// Changes nothing.
#ifndef ORVHOST_COMMANDS_PACKAGE_CHECK_H
#define ORVHOST_COMMANDS_PACKAGE_CHECK_H

#include <memory>
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
  PackageCheck(const Run& run, DamagedRecords damaged, Outcome* outcome);

  // Takes every step up to reading the running version, which is then in `before` of the outcome. False when the
  // package is not for this machine or a step failed; the outcome is then complete.
  [[nodiscard]] bool Go();

  // Only after Go() answered true. The plug-in compares, but the same text is the same version whatever its form.
  [[nodiscard]] Comparison Compare() const;
  [[nodiscard]] const Session& OpenedSession() const { return *session_; }

  [[nodiscard]] const std::string& PackagePath() const { return packagePath_; }
  [[nodiscard]] const refhost::PackageManifest& Manifest() const { return manifest_; }

 private:
  [[nodiscard]] bool ReadPackage();
  [[nodiscard]] bool LoadPlugin();
  [[nodiscard]] bool CheckPrerequisites();
  [[nodiscard]] bool CheckServerType();
  [[nodiscard]] bool CheckFit();
  [[nodiscard]] bool RefusedByPlugin(const FitWatch& seen);
  [[nodiscard]] bool ReadVersion();
  [[nodiscard]] bool DoesNotFit(const std::string& cause, const std::string& nextStep = kOtherPackage);

  static constexpr const char* kOtherPackage = "Get the package that is made for this machine.";

  const Run& run_;
  const DamagedRecords damaged_;
  Outcome* const outcome_;
  const std::string packagePath_;
  refhost::PackageManifest manifest_;
  std::unique_ptr<Session> session_;
};

// What the host calls the module that it installs.
inline constexpr const char* kModuleId = "kestrel_bmc";

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_PACKAGE_CHECK_H
