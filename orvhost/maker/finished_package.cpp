#include "orvhost/maker/finished_package.h"

#include <unistd.h>

#include <filesystem>

#include "posix/last_error.h"
#include "refhost/staged_package.h"

namespace orvhost {

std::string UnpackFinished(const std::string& path, const std::string& folder, refhost::PackageManifest* manifest) {
  std::filesystem::create_directory(folder);
  std::uintmax_t room = 0;
  std::string error;
  if (!refhost::FreeBytes(folder, &room)) {
    return "there is no telling how much room there is to look into it";
  }
  refhost::StagingFailure failure;
  if (!refhost::UnpackPackage(path, folder, room, &failure)) {
    return failure.reason;
  }
  if (!refhost::ReadUnpackedManifest(folder, manifest, &error)) {
    return error;
  }
  return refhost::DifferenceFromList(*manifest, folder);
}

bool Publish(const std::string& made, const std::string& name, std::string* error) {
  if (link(made.c_str(), name.c_str()) == 0) {
    return true;
  }
  *error = name + " cannot be made: " + posix::LastError();
  return false;
}

}  // namespace orvhost
