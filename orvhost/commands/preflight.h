// Whether an update would go through, as far as that shows before anything is touched. "check", the dry run and the
// update itself judge by the same questions in the same order.
#ifndef ORVHOST_COMMANDS_PREFLIGHT_H
#define ORVHOST_COMMANDS_PREFLIGHT_H

#include <optional>
#include <string>

#include "orvhost/commands/package_contents.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/run.h"
#include "refhost/staged_package.h"

namespace orvhost {

// Nothing when the user of this process may write a firmware and put it into operation.
[[nodiscard]] std::optional<FailedEnd> UserObstacle();

// What the preflight is about.
struct PlannedUpdate {
  const Options& options;
  const refhost::StagedPackage& package;
  UpdateMethod method;
  std::string runningVersion;
};

// The first thing that would make the update fail: in the package, on this machine, in the plug-in. Nothing when none
// is to be seen.
[[nodiscard]] std::optional<FailedEnd> FindObstacle(const PlannedUpdate& update);

// What only the update itself shows, a clause.
[[nodiscard]] std::string NotJudgedBeforehand(UpdateMethod method);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_PREFLIGHT_H
