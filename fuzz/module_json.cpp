// The content of a package's module.json, as the reference host reads it.
#include "fuzz/property.h"
#include "refhost/package.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  refhost::PackageManifest manifest;
  std::string error;
  const bool valid = refhost::ParsePackageManifest(fuzz::Text(data, size), &manifest, &error);

  fuzz::Require(valid == error.empty(), "a manifest is refused with a reason and taken without one");
  if (!valid) {
    return 0;
  }
  fuzz::Require(!manifest.name.empty() && !manifest.version.empty(), "a valid manifest has a name and a version");
  fuzz::Require(!manifest.serverTypes.empty(), "a valid manifest is made for some server");
  for (const std::string& type : manifest.serverTypes) {
    fuzz::Require(refhost::IsMadeFor(manifest, type), "a manifest is made for each type that it lists");
  }
  return 0;
}
