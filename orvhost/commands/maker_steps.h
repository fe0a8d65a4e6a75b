// What the subcommands for makers of packages have in common.
#ifndef ORVHOST_COMMANDS_MAKER_STEPS_H
#define ORVHOST_COMMANDS_MAKER_STEPS_H

#include <functional>
#include <string>

#include "orvhost/run/run.h"
#include "refhost/package.h"

namespace orvhost {

// False, with the failure in `*outcome`, when something has that name already or its folder is not there.
[[nodiscard]] bool CanBeMade(const Run& run, const std::string& path, Outcome* outcome);

// Unpacks the package at `path` in `folder`, and looks for anything that an update would refuse on every server that it
// is made for. False, with the failure in `*outcome`, when there is something.
[[nodiscard]] bool IsUsable(const Run& run, const std::string& path, const std::string& folder,
                            refhost::PackageManifest* manifest, Outcome* outcome);

// Signs `package` with the key of the options; the signature is then in `signature`, and its owner in the facts of
// `*outcome`. False, with the failure in `*outcome`, when it cannot be signed.
[[nodiscard]] bool Sign(const Run& run, const std::string& package, const std::string& signature,
                        const std::string& folder, Outcome* outcome);

// Has `work` done with a folder for what is in between, on the file system of `path`, and returns its answer. False,
// with the failure in `*outcome`, when no such folder can be made.
[[nodiscard]] bool WithFolder(const Run& run, const std::string& path,
                              const std::function<bool(const std::string& folder)>& work, Outcome* outcome);

// Makes `*outcome` that of a package that could not be used.
void RefuseToMake(const Run& run, const std::string& cause, Outcome* outcome);

// The same where a file could not be written.
void CouldNotWrite(const Run& run, const std::string& reason, Outcome* outcome);

// What a description says, as facts.
void AddFacts(const refhost::PackageManifest& manifest, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_MAKER_STEPS_H
