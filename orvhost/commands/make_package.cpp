// orvhost make-package: an update package from an image or a folder. For those who make packages; touches no device.
#include <unistd.h>

#include "orvhost/commands/commands.h"
#include "orvhost/commands/maker_steps.h"
#include "orvhost/interface/repeated_options.h"
#include "orvhost/maker/finished_package.h"
#include "orvhost/maker/package_source.h"
#include "orvhost/maker/zip_archive.h"
#include "posix/regular_file.h"

namespace orvhost {

namespace {

constexpr std::size_t kLargestDescription = 1024UL * 1024UL;

class Making {
 public:
  explicit Making(const Run& run)
      : run_(run), path_(run.options.outFile), signature_(path_ + ".sig"), isSigned_(!run.options.signingKey.empty()) {}

  Outcome Go();

 private:
  bool Describe();
  bool TakeDescription();
  bool Make(const std::string& folder);

  const Run& run_;
  const std::string path_;
  const std::string signature_;
  const bool isSigned_;
  PackageSource source_;
  refhost::PackageManifest manifest_;
  Outcome outcome_;
};

Outcome Making::Go() {
  outcome_.phase = "make";
  if (!CanBeMade(run_, path_, &outcome_) || !CanBeMade(run_, signature_, &outcome_) || !Describe()) {
    return outcome_;
  }
  if (!WithFolder(
          run_, path_, [this](const std::string& folder) { return Make(folder); }, &outcome_)) {
    return outcome_;
  }
  outcome_.verdict = "package-made";
  outcome_.changed = true;
  outcome_.summary =
      "The package " + path_ + " is made, and an update would accept what it holds." +
      (isSigned_ ? " Hand it on together with " + signature_ + "."
                 : " It is not signed; \"orvhost sign-package " + ShellWord(path_) + " KEY\" does that.");
  return outcome_;
}

// False, with the outcome complete, when the description that was found cannot be read.
bool Making::TakeDescription() {
  if (source_.description.empty()) {
    return true;
  }
  std::string error = refhost::kManifestName + std::string(" cannot be read");
  const auto text = posix::ReadRegularFile(source_.description, kLargestDescription);
  if (text && refhost::ParsePackageManifest(*text, &manifest_, &error)) {
    return true;
  }
  RefuseToMake(run_, "No package can be made of " + run_.options.source + ": its " + error + ".", &outcome_);
  return false;
}

bool Making::Describe() {
  const Options& options = run_.options;
  std::string error;
  if (!FindSource(options.source, &source_, &error)) {
    RefuseToMake(run_, "No package can be made of " + options.source + ": " + error + ".", &outcome_);
    return false;
  }
  if (!TakeDescription()) {
    return false;
  }
  const auto takeOver = [](const std::string& given, std::string* value) { *value = given.empty() ? *value : given; };
  takeOver(options.packageName, &manifest_.name);
  takeOver(options.firmwareVersion, &manifest_.version);
  takeOver(options.packageModel, &manifest_.model);
  if (!options.forTypes.empty()) {
    manifest_.serverTypes = options.forTypes;
  }
  if (manifest_.name.empty()) {
    manifest_.name = "BMC firmware";
  }
  if (!ListFiles(source_, &manifest_, &error)) {
    RefuseToMake(run_, "No package can be made of " + options.source + ": " + error + ".", &outcome_);
    return false;
  }
  refhost::PackageManifest understood;
  if (!refhost::ParsePackageManifest(DescriptionText(manifest_), &understood, &error)) {
    RefuseToMake(run_,
                 "No package can be made: its " + error +
                     ". What it holds is given by --firmware-version, --for, --name and --model, or by a module.json.",
                 &outcome_);
    return false;
  }
  manifest_ = understood;
  return true;
}

bool Making::Make(const std::string& folder) {
  const std::string made = folder + "/package";
  const std::string signature = folder + "/signature";
  std::string error;
  if (!WriteZipArchive(made, refhost::kManifestName, DescriptionText(manifest_), source_.files, &error)) {
    CouldNotWrite(run_, error, &outcome_);
    return false;
  }
  if (!IsUsable(run_, made, folder, &manifest_, &outcome_)) {
    return false;
  }
  AddFacts(manifest_, &outcome_);
  if (isSigned_ && !Sign(run_, made, signature, folder, &outcome_)) {
    return false;
  }
  // The signature first: a package without it would not be refused everywhere.
  if (isSigned_ && !Publish(signature, signature_, &error)) {
    CouldNotWrite(run_, error, &outcome_);
    return false;
  }
  if (!Publish(made, path_, &error)) {
    if (isSigned_) {
      unlink(signature_.c_str());
    }
    CouldNotWrite(run_, error, &outcome_);
    return false;
  }
  return true;
}

std::string NoServerType(const std::string& text) {
  return text.empty() || text.find_first_of(", \t") != std::string::npos
             ? "one server type is meant, without a comma or blank"
             : "";
}

std::string NoName(const std::string& text) {
  return text.empty() ? "the name of a file is meant" : "";
}

std::string NoKey(const std::string& text) {
  return text.empty() ? "a key is meant" : "";
}

constexpr const char* kMakePackageHelp =
    R"(Makes an update package, a zip archive, of a firmware image, or of everything in
a folder. Its description module.json lists each file with its size and SHA-256,
which "check" and "update" compare before anything is touched. A module.json in
the folder is taken over; the options count more. The finished package is read
as an update would read it, and is kept only when nothing would be refused. The
same files and options give the same bytes, whenever and wherever it is made.

With --sign-with it is signed by gpg, see "orvhost sign-package --help".

For those who make packages: asks no BMC, loads no plug-in, needs no root.

Examples:
  orvhost make-package kv6000.ima bmc-01-24.zip --firmware-version 01-24 \
    --for kv6000 --name "KV6000 BMC firmware"
  orvhost make-package rack-folder bmc-rack.zip --sign-with release@example.org

Exit codes: 0 made; 2 the file or its signature is there already; 4 gpg is
missing; 5 no package that an update would accept can be made of this; 7 it
could not be written or signed.)";

}  // namespace

const Command kMakePackageCommand = {
    "make-package",
    "Make an update package of an image or a folder",
    kMakePackageHelp,
    {{"source", &Options::source, "An image, or a folder with the package's files", "SOURCE", true},
     {"package", &Options::outFile, "Package to make; must not be there yet", "FILE", true, false, NoName},
     {"--firmware-version", &Options::firmwareVersion, "Version of the firmware", "VERSION"},
     {"--for", &Options::forTypes, "A server type that it is made for; once for each", "TYPE", false, false,
      NoServerType},
     {"--name", &Options::packageName, "Name for people", "NAME"},
     {"--model", &Options::packageModel, "Hardware variant; none for the ordinary model", "MODEL"},
     {"--sign-with", &Options::signingKey, "Sign it with this key", "KEY", false, false, NoKey}},
    [](const Run& run) { return Making(run).Go(); }};

}  // namespace orvhost
