// How "check" and "update" judge a package for this machine: by reading a copy of it and by asking the plug-in and the
// BMC. Changes nothing; the copy goes with the object.
#ifndef ORVHOST_COMMANDS_PACKAGE_CHECK_H
#define ORVHOST_COMMANDS_PACKAGE_CHECK_H

#include <memory>
#include <optional>
#include <string>

#include "orvhost/commands/package_contents.h"
#include "orvhost/run/run.h"
#include "orvhost/trace/fit_watch.h"
#include "refhost/package.h"
#include "refhost/staged_package.h"

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

  // Stages the package and reads its description, for which no plug-in is needed. False, with the outcome complete,
  // when it cannot.
  [[nodiscard]] bool Read();

  // Only after Read() answered true. Takes every step up to reading the running version, which is then in `before` of
  // the outcome, and unless that is the package's looks for obstacles to the update. False when the package is not
  // for this machine, an update would fail or a step failed; the outcome is then complete.
  [[nodiscard]] bool Judge(const Session& session);

  // Only after Judge() answered true. The plug-in compares, but the same text is the same version in every form.
  // Nothing, with the outcome complete, when the plug-in could not compare because the machine did not report its
  // server type.
  [[nodiscard]] std::optional<Comparison> Compare(const Session& session);

  [[nodiscard]] const std::string& PackagePath() const { return packagePath_; }
  [[nodiscard]] const refhost::PackageManifest& Manifest() const { return manifest_; }

  // Only after Read() answered true.
  [[nodiscard]] const std::string& Sha256() const { return package_->Sha256(); }

  // Only after Judge() answered true: how the server is updated.
  [[nodiscard]] UpdateMethod Method() const { return method_; }

 private:
  [[nodiscard]] bool StagePackage();
  [[nodiscard]] bool CheckServerType();
  [[nodiscard]] bool CheckVersionForm();
  [[nodiscard]] bool CheckFit(const Session& session);
  [[nodiscard]] bool RefusedByPlugin(const FitWatch& seen);
  [[nodiscard]] bool HasNoObstacle();
  [[nodiscard]] const FitWatch& WatchFit();
  [[nodiscard]] bool CannotBeUsed(const std::string& reason,
                                  const std::string& nextStep = "Get a new copy of the package and try again.");
  [[nodiscard]] bool DoesNotFit(const std::string& cause, const std::string& nextStep = kOtherPackage);

  static constexpr const char* kOtherPackage = "Get the package that is made for this machine.";

  const Run& run_;
  Outcome* const outcome_;
  const std::string packagePath_;
  std::unique_ptr<refhost::StagedPackage> package_;
  refhost::PackageManifest manifest_;
  std::string serverType_;
  UpdateMethod method_ = UpdateMethod::kFlashTool;
};

// What the host calls the module that it installs.
inline constexpr const char* kModuleId = "kestrel_bmc";

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_PACKAGE_CHECK_H
