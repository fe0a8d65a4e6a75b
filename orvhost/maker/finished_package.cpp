#include "orvhost/maker/finished_package.h"

#include <unistd.h>

#include <filesystem>

#include "posix/last_error.h"
#include "refhost/staged_package.h"

namespace orvhost {

bool UnpackFinished(const std::string& path, const std::string& folder, refhost::PackageManifest* manifest,
                    refhost::StagingFailure* failure) {
  std::filesystem::create_directory(folder);
  std::uintmax_t room = 0;
  if (!refhost::FreeBytes(folder, &room)) {
    *failure = {refhost::StagingFailure::Fault::kPlace, "there is no telling how much room there is to look into it"};
    return false;
  }
  if (!refhost::UnpackPackage(path, folder, room, failure)) {
    return false;
  }
  failure->fault = refhost::StagingFailure::Fault::kPackage;
  if (refhost::ReadUnpackedManifest(folder, manifest, &failure->reason)) {
    failure->reason = refhost::DifferenceFromList(*manifest, folder);
  }
  return failure->reason.empty();
}

bool Publish(const std::string& made, const std::string& name, std::string* error) {
  if (link(made.c_str(), name.c_str()) == 0) {
    return true;
  }
  *error = name + " cannot be made: " + posix::LastError();
  return false;
}

}  // namespace orvhost
