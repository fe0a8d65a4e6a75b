// What the operator must say before a package that fits is written: a version that is not newer than the running one is
// written only on demand. The plug-in compares the versions; what follows from that is the tool's.
#ifndef ORVHOST_COMMANDS_WRITE_POLICY_H
#define ORVHOST_COMMANDS_WRITE_POLICY_H

#include <optional>
#include <string>

#include "orvhost/commands/package_check.h"

namespace orvhost {

// Why a package is not written as the command line stands, and the option that lifts it.
struct Objection {
  std::string verdict;  // of an update that is refused for it
  std::string option;
  std::string question;  // for somebody at the terminal, up to the machine's name
};

[[nodiscard]] std::optional<Objection> FindObjection(const Options& options, const Comparison& comparison);

// Makes `*outcome` the refusal of that package.
void Refuse(const Run& run, const PackageCheck& check, const Comparison& comparison, const Objection& objection,
            Outcome* outcome);

// True when the package may be written: there is no objection, or somebody at the terminal agrees. Otherwise false with
// the refusal in `*outcome`. A dry run asks nobody.
[[nodiscard]] bool MayWrite(const Run& run, const Session& session, const PackageCheck& check,
                            const Comparison& comparison, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_WRITE_POLICY_H
