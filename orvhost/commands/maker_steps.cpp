#include "orvhost/commands/maker_steps.h"

#include <filesystem>
#include <system_error>

#include "orvhost/commands/package_contents.h"
#include "orvhost/commands/version_form.h"
#include "orvhost/maker/finished_package.h"
#include "orvhost/maker/signing.h"
#include "orvhost/run/failure.h"
#include "posix/scratch_folder.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

// What an update of a server of that type would refuse; "" for nothing.
std::string ComplaintFor(const std::string& type, const std::string& version, const std::string& folder) {
  if (const std::string complaint = VersionComplaint(version, type); !complaint.empty()) {
    return "its version \"" + version + "\" is malformed for " + type + ", because " + complaint;
  }
  const std::string complaint = ContentsComplaint(MethodFor(type), folder);
  return complaint.empty() ? "" : complaint + " (for " + type + ")";
}

std::string Complaint(const refhost::PackageManifest& manifest, const std::string& folder) {
  std::string complaint;
  for (auto type = manifest.serverTypes.begin(); complaint.empty() && type != manifest.serverTypes.end(); ++type) {
    complaint = ComplaintFor(*type, manifest.version, folder);
  }
  return complaint;
}

std::string FolderOf(const std::string& path) {
  return fs::absolute(path).parent_path().string();
}

}  // namespace

bool CanBeMade(const Run& run, const std::string& path, Outcome* outcome) {
  std::error_code error;
  const bool isThere = fs::exists(fs::symlink_status(path, error));
  if (!isThere && fs::is_directory(FolderOf(path), error)) {
    return true;
  }
  Fail(run, outcome,
       {.exitCode = ExitCode::kUsage,
        .verdict = "file-unusable",
        .cause = "The file cannot be made: " +
                 (isThere ? path + " is there already" : FolderOf(path) + " is no folder") + ".",
        .nextStep = isThere ? "Remove it if it is out of date, or give the package another name."
                            : "Give one in a folder that is there."});
  return false;
}

bool IsUsable(const Run& run, const std::string& path, const std::string& folder, refhost::PackageManifest* manifest,
              Outcome* outcome) {
  const std::string unpacked = folder + "/unpacked";
  refhost::StagingFailure failure;
  const bool isUnpacked = UnpackFinished(path, unpacked, manifest, &failure);
  if (!isUnpacked && failure.fault == refhost::StagingFailure::Fault::kPlace) {
    CouldNotWrite(run, failure.reason, outcome);
    return false;
  }
  const std::string complaint = isUnpacked ? Complaint(*manifest, unpacked) : failure.reason;
  if (!complaint.empty()) {
    RefuseToMake(run, "The package would be refused: " + complaint + ".", outcome);
  }
  return complaint.empty();
}

bool Sign(const Run& run, const std::string& package, const std::string& signature, const std::string& folder,
          Outcome* outcome) {
  SignatureAnswer answer;
  SigningFailure failure;
  if (SignPackage(package, run.options.signingKey, signature, folder, &answer, &failure)) {
    outcome->facts.push_back({"signed_by", "Signed by", answer.owner});
    outcome->facts.push_back({"signing_key", "Signing key", answer.key});
    return true;
  }
  if (failure.isMissing) {
    Fail(run, outcome,
         {.exitCode = ExitCode::kPrerequisites,
          .verdict = "prerequisites-missing",
          .cause = "The package cannot be signed: " + failure.reason + ".",
          .nextStep = "Install GnuPG (Debian's package gnupg), then run the same command again."});
    return false;
  }
  Fail(run, outcome,
       {.exitCode = ExitCode::kFailedUntouched,
        .verdict = "not-signed",
        .cause = "The package could not be signed: " + failure.reason + ".",
        .nextStep = "Run \"gpg --list-secret-keys\" to see which keys can sign, then run the same command again."});
  return false;
}

bool WithFolder(const Run& run, const std::string& path, const std::function<bool(const std::string& folder)>& work,
                Outcome* outcome) {
  try {
    const posix::ScratchFolder folder(FolderOf(path), ".orvhost-maker");
    return work(folder.Path());
  } catch (const std::system_error& failure) {
    CouldNotWrite(run, std::string("a folder for it is needed, and ") + failure.what(), outcome);
    return false;
  }
}

void RefuseToMake(const Run& run, const std::string& cause, Outcome* outcome) {
  Fail(run, outcome,
       {.exitCode = ExitCode::kPackageUnusable,
        .verdict = "package-unusable",
        .cause = cause,
        .nextStep = "Correct that, then run the same command again."});
}

void CouldNotWrite(const Run& run, const std::string& reason, Outcome* outcome) {
  Fail(run, outcome,
       {.exitCode = ExitCode::kFailedUntouched,
        .verdict = "file-not-written",
        .cause = "The file was not written: " + reason + ".",
        .nextStep = "Make room, or give a path that can be written, then run the same command again."});
}

void AddFacts(const refhost::PackageManifest& manifest, Outcome* outcome) {
  std::string types;
  for (const std::string& type : manifest.serverTypes) {
    types += (types.empty() ? "" : ", ") + type;
  }
  outcome->facts.insert(outcome->facts.end(), {{"package_name", "Package name", manifest.name},
                                               {"package_version", "Package version", manifest.version},
                                               {"server_types", "Server types", types},
                                               {"files", "Files", std::to_string(manifest.files.size())}});
}

}  // namespace orvhost
