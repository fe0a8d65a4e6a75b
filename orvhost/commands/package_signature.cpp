#include "orvhost/commands/package_signature.h"

#include "orvhost/run/failure.h"
#include "orvhost/trust/signature.h"

namespace orvhost {

namespace {

using End = SignatureFinding::End;

FailedEnd InFailure(const SignatureFinding& finding) {
  switch (finding.end) {
    case End::kKeysUnusable:
      return {.exitCode = ExitCode::kUsage,
              .verdict = "keys-unusable",
              .cause = finding.sentence,
              .nextStep = finding.nextStep};
    case End::kNotChecked:
      return {.exitCode = ExitCode::kPrerequisites,
              .verdict = "prerequisites-missing",
              .cause = finding.sentence,
              .nextStep = finding.nextStep};
    case End::kRefused:
    case End::kAccepted:
      break;
  }
  return {.exitCode = ExitCode::kPackageUnusable,
          .verdict = "not-trusted",
          .cause = finding.sentence,
          .nextStep = finding.nextStep};
}

}  // namespace

bool IsTrusted(const Run& run, const refhost::StagedPackage& package, Outcome* outcome) {
  const SignatureFinding finding = JudgeSignature(package, {run.options.signatures, run.options.keyFolder});
  run.journal.Package({.path = package.Original(),
                       .sha256 = package.Sha256(),
                       .size = package.Size(),
                       .signature = finding.state,
                       .signedBy = finding.owner,
                       .signingKey = finding.key});
  outcome->facts = {{"package", "Package", package.Original()},
                    {"package_sha256", "Package SHA-256", package.Sha256()},
                    {"signature", "Signature", finding.state}};
  if (finding.state == "good") {
    outcome->facts.push_back({"signed_by", "Signed by", finding.owner});
    outcome->facts.push_back({"signing_key", "Signing key", finding.key});
  }
  if (finding.end == End::kAccepted) {
    Note(run, outcome, finding.sentence);
    return true;
  }
  Fail(run, outcome, InFailure(finding));
  return false;
}

}  // namespace orvhost
