// The checks by which "orvhost validate" judges a plug-in against the host's contract. None of them reaches a device:
// the host's commands are refused and recorded, and the install path is an empty folder.
#ifndef ORVHOST_VALIDATION_VALIDATION_H
#define ORVHOST_VALIDATION_VALIDATION_H

#include <span>
#include <string>
#include <vector>

#include "orvhost/plugin/session.h"
#include "orvhost/validation/isolated_check.h"

namespace orvhost {

// What a check gets: the plug-in, its vendor class, and an empty folder of this check's own.
struct Candidate {
  std::string path;
  std::string className = kVendorClassName;
  std::string folder;
};

struct ValidationCheck {
  std::string name;                // "two-objects"
  std::string description;         // one sentence: what is true of a good plug-in
  std::vector<std::string> needs;  // names of the checks before it that must have passed
  CheckResult (*run)(const Candidate& candidate);
};

// Of the file alone; loads nothing.
[[nodiscard]] std::span<const ValidationCheck> FileChecks();

// Of the library in memory and of its entry points.
[[nodiscard]] std::span<const ValidationCheck> LoadingChecks();

// Of its objects.
[[nodiscard]] std::span<const ValidationCheck> ObjectChecks();

// Of what a host meets on a machine where nothing is prepared for the device.
[[nodiscard]] std::span<const ValidationCheck> HostChecks();

}  // namespace orvhost

#endif  // ORVHOST_VALIDATION_VALIDATION_H
