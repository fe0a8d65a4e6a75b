// orvhost sign-package: a detached signature of a package. For those who make packages; touches no device.
#include <filesystem>
#include <system_error>

#include "orvhost/commands/commands.h"
#include "orvhost/commands/maker_steps.h"
#include "orvhost/commands/package_contents.h"
#include "orvhost/maker/finished_package.h"
#include "orvhost/maker/package_source.h"

namespace orvhost {

namespace {

// False with the outcome complete.
bool SignChecked(const Run& run, const std::string& signature, const std::string& folder, Outcome* outcome) {
  const std::string made = folder + "/signature";
  const std::string copy = folder + "/package";  // what is looked at is what is signed
  refhost::PackageManifest manifest;
  PackageSource source;
  std::string error;
  const bool isFolder = std::filesystem::is_directory(run.options.packagePath);
  if (isFolder || !FindSource(run.options.packagePath, &source, &error)) {
    RefuseToMake(run, run.options.packagePath + " cannot be signed: " + (isFolder ? "it is a folder" : error) + ".",
                 outcome);
    return false;
  }
  std::error_code failure;
  if (!std::filesystem::copy_file(run.options.packagePath, copy, failure)) {
    CouldNotWrite(run, "no copy can be made: " + failure.message(), outcome);
    return false;
  }
  if (!IsUsable(run, copy, folder, &manifest, outcome)) {
    return false;
  }
  AddFacts(manifest, outcome);
  if (!manifest.listsFiles) {
    Note(run, outcome, kListsNoFiles);
  }
  if (!Sign(run, copy, made, folder, outcome)) {
    return false;
  }
  if (!Publish(made, signature, &error)) {
    CouldNotWrite(run, error, outcome);
    return false;
  }
  return true;
}

Outcome SignPackage(const Run& run) {
  Outcome outcome;
  outcome.phase = "sign";
  const std::string signature = run.options.packagePath + ".sig";
  const auto sign = [&](const std::string& folder) { return SignChecked(run, signature, folder, &outcome); };
  if (!CanBeMade(run, signature, &outcome) || !WithFolder(run, signature, sign, &outcome)) {
    return outcome;
  }
  outcome.verdict = "package-signed";
  outcome.changed = true;
  outcome.summary = "The package is signed. Hand it on together with " + signature + ".";
  return outcome;
}

constexpr const char* kSignPackageHelp =
    R"(Signs an update package: gpg writes a detached OpenPGP signature of the whole
file to FILE.sig, which belongs beside the package from then on. KEY is what gpg
finds one of your private keys by, such as an address or a fingerprint; it may
ask for a passphrase. Where SOURCE_DATE_EPOCH is set, that is the signature's
time, and Ed25519 and RSA keys give the same bytes again. A package that an
update would refuse is not signed.

On the servers the public key belongs into /etc/orvhost/keys.d, for example by
  gpg --export KEY > /etc/orvhost/keys.d/maker.gpg
From then on "check" and "update" refuse what is not signed by such a key,
unless the configuration says otherwise (signatures = required, warn or off).

Example:
  orvhost sign-package bmc-01-24.zip release@example.org

Exit codes: 0 signed; 2 the signature is there already; 4 gpg is missing; 5 an
update would refuse the package; 7 it could not be signed.)";

}  // namespace

const Command kSignPackageCommand = {
    "sign-package",
    "Sign an update package",
    kSignPackageHelp,
    {kPackageArgument, {"key", &Options::signingKey, "Key to sign with, as gpg finds it", "KEY", true}},
    SignPackage};

}  // namespace orvhost
