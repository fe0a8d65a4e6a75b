// What "check" and "update" make of the signature of a package.
#ifndef ORVHOST_COMMANDS_PACKAGE_SIGNATURE_H
#define ORVHOST_COMMANDS_PACKAGE_SIGNATURE_H

#include "orvhost/run/run.h"
#include "refhost/staged_package.h"

namespace orvhost {

// Judges the signature of a staged package, which is then in the journal and with the package in the facts of
// `*outcome`. False, with the failure in `*outcome`, when it keeps the package from being used.
[[nodiscard]] bool IsTrusted(const Run& run, const refhost::StagedPackage& package, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_PACKAGE_SIGNATURE_H
