// orvhost validate: judges a plug-in against the host's contract, without a device.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <system_error>

#include "orvhost/commands/commands.h"
#include "orvhost/commands/output_file.h"
#include "orvhost/commands/validation_page.h"
#include "orvhost/run/failure.h"
#include "orvhost/validation/host_libraries.h"
#include "orvhost/validation/library_file.h"
#include "orvhost/validation/validation.h"
#include "posix/scratch_folder.h"
#include "refhost/staged_package.h"
#include "refhost/trace_sink.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;
using Status = CheckResult::Status;

// For temporary files. Throws std::system_error when there is none.
std::string TemporaryParent() {
  std::error_code failure;
  const fs::path parent = fs::temp_directory_path(failure);
  if (failure) {
    throw std::system_error(failure, "the one for temporary files cannot be used");
  }
  return parent.string();
}

const char* InWord(Status status) {
  switch (status) {
    case Status::kPass:
      return "pass";
    case Status::kFail:
      return "fail";
    default:
      return "skip";
  }
}

std::string InSeconds(std::chrono::duration<double> time) {
  std::array<char, 32> text{};
  snprintf(text.data(), text.size(), "%.3f", time.count());
  return text.data();
}

// The validation of one plug-in.
class Validation {
 public:
  explicit Validation(const Options& options) : limit_(static_cast<long>(std::ceil(options.timeLimit * 1000))) {
    candidate_.path = fs::absolute(options.pluginPath).lexically_normal().string();
    if (!options.className.empty()) {
      candidate_.className = options.className;
    }
  }

  void Go() {
    for (const auto checks : {FileChecks(), LoadingChecks(), ObjectChecks(), HostChecks()}) {
      for (const ValidationCheck& check : checks) {
        const auto start = std::chrono::steady_clock::now();
        const CheckResult result = ResultOf(check);
        Take(check, result, std::chrono::steady_clock::now() - start);
      }
    }
  }

  const Candidate& Judged() const { return candidate_; }
  const std::vector<std::string>& Table() const { return table_; }
  const Listing& Entries() const { return listing_; }
  const std::vector<std::string>& Failed() const { return failed_; }
  std::size_t Count() const { return listing_.entries.size(); }

 private:
  CheckResult ResultOf(const ValidationCheck& check) const {
    for (const std::string& needed : check.needs) {
      if (results_.at(needed) != Status::kPass) {
        return CheckResult::Skip("it needs \"" + needed + "\"");
      }
    }
    const posix::ScratchFolder folder(TemporaryParent(), "orvhost-validate");
    Candidate candidate = candidate_;
    candidate.folder = folder.Path();
    return RunIsolated([&] { return check.run(candidate); }, limit_);
  }

  void Take(const ValidationCheck& check, const CheckResult& result, std::chrono::duration<double> time) {
    constexpr std::size_t kNameWidth = 14;  // of "unknown-method"
    results_[check.name] = result.status;
    if (result.status == Status::kFail) {
      failed_.push_back(check.name);
    }
    listing_.entries.push_back({{"name", check.name},
                                {"description", check.description},
                                {"result", InWord(result.status)},
                                {"reason", result.reason},
                                {"evidence", result.evidence},
                                {"seconds", InSeconds(time)}});
    const std::string padding(kNameWidth - std::min(kNameWidth, check.name.size()) + 2, ' ');
    table_.push_back(std::string(InWord(result.status)) + "  " + check.name + padding + check.description);
    if (!result.reason.empty()) {
      table_.push_back(std::string(6 + kNameWidth + 2, ' ') + "-> " + result.reason);
    }
  }

  Candidate candidate_;
  std::chrono::milliseconds limit_;
  std::map<std::string, Status> results_;
  std::vector<std::string> failed_;
  Listing listing_{"checks", {}};
  std::vector<std::string> table_;
};

// What was judged, with what, and when: whoever reads the report can tell whether it is about the file before him.
std::vector<Fact> FactsOf(const Options& options, const Candidate& candidate) {
  std::string error;
  std::vector<Fact> facts = {{"plugin", "Plug-in", options.pluginPath}};
  if (const std::string digest = refhost::Sha256OfFile(candidate.path, &error); !digest.empty()) {
    facts.push_back({"plugin_sha256", "Its SHA-256", digest});
  }
  if (const auto file = ReadLibraryFile(candidate.path, &error); file && file->stringAbi) {
    facts.push_back({"plugin_string_abi", "Its std::string ABI", std::to_string(*file->stringAbi)});
  }
  facts.push_back({"vendor_class", "Vendor class", candidate.className});
  facts.push_back({"validated", "Validated", refhost::UtcNow()});
  facts.push_back({"host", "Host", "orvhost " ORVHOST_VERSION});
  facts.push_back({"host_string_abi", "Host's std::string ABI", std::to_string(kHostStringAbi)});
  for (const HostLibrary& library : LoadedHostLibraries()) {
    const std::string key = FactKey(library.name);
    facts.push_back({key, library.name, library.path});
    facts.push_back({key + "_sha256", "Its SHA-256", library.sha256});
  }
  return facts;
}

Outcome Judge(const Run& run) {
  Outcome outcome;
  outcome.phase = "validate";
  Validation validation(run.options);
  try {
    validation.Go();
  } catch (const std::system_error& error) {
    Fail(run, &outcome,
         {.exitCode = ExitCode::kUsage,
          .verdict = "folder-unusable",
          .cause = std::string("The checks need a folder of their own: ") + error.what() + ".",
          .nextStep = "Set TMPDIR to a folder that you can write to, then run the same command again."});
    return outcome;
  }
  outcome.listing = validation.Entries();
  outcome.facts = FactsOf(run.options, validation.Judged());
  run.console.Show(validation.Table());
  if (validation.Failed().empty()) {
    outcome.verdict = "valid";
    outcome.summary = "The plug-in passes all " + std::to_string(validation.Count()) + " checks.";
    return outcome;
  }
  std::string names;
  for (const std::string& name : validation.Failed()) {
    names += (names.empty() ? "" : ", ") + name;
  }
  Fail(run, &outcome,
       {.exitCode = ExitCode::kPluginUnusable,
        .verdict = "not-valid",
        .cause = "The plug-in " + run.options.pluginPath + " fails these of the " + std::to_string(validation.Count()) +
                 " checks: " + names + ".",
        .nextStep = "Do not use this plug-in before its maker has corrected what the failed checks name."});
  return outcome;
}

Outcome Validate(const Run& run) {
  Outcome outcome = Judge(run);
  const std::string& page = run.options.pageFile;
  if (page.empty() || outcome.listing.entries.empty()) {
    return outcome;
  }
  Outcome unwritten;
  unwritten.phase = outcome.phase;
  if (!WriteOutputFile(run, "--html", page, ToValidationPage(outcome), OutputFile::kMustBeNew, &unwritten)) {
    return unwritten;
  }
  outcome.facts.push_back({"page", "Page", page});
  return outcome;
}

std::string RefuseOddTime(const std::string& text) {
  const double seconds = std::strtod(text.c_str(), nullptr);
  return seconds >= 0.001 && seconds <= 3600 ? "" : "it must be between 0.001 and 3600 seconds";
}

constexpr const char* kValidateHelp =
    R"(Checks a plug-in's file, its loading, its entry points, the life of its objects,
and what a host meets where no device answers, against the host's contract. No
device is touched: commands that the plug-in wants to run through the host are
refused and listed, pauses that it asks for are not made, and its install path
is an empty folder. Commands that a plug-in runs without the host are not
stopped, so do not validate a file that you would not load.

A plug-in for another device has a vendor class of another name: give it with
--class.

With --html the report is also written as a page for a browser: the plug-in and
the host libraries with their SHA-256, each check with its result and what was
seen. The page has no script, fetches nothing, and prints well. FILE must not be
there yet.

Each check has a process of its own, so a crash, an exit or a hang is its result
and the others go on. A check ends in "pass", "fail" or, when one before it that
it needs did not pass, "skip".

Examples:
  orvhost validate
  orvhost validate ./liborvp_KESTREL_BMC.so --json
  orvhost validate ./mine.so --class MINE_Vendor --html validation.html

Exit codes: 0 all checks pass; 2 there is no folder to check in, or FILE cannot
be made; 3 a check failed; 7 FILE was not written.)";

}  // namespace

const Command kValidateCommand = {
    "validate",
    "Check a plug-in against the host's contract",
    kValidateHelp,
    {{"file", &Options::pluginPath, "Plug-in to judge, instead of the one of --plugin", "PLUGIN.so"},
     {"--class", &Options::className, "Vendor class instead of CBMC_KESTREL_Vendor", "NAME"},
     {"--html", &Options::pageFile, "Write the report as a page to this new file", "FILE"},
     {"--time-limit", &Options::timeLimit, "Seconds that each check may take", "SECONDS", false, true, RefuseOddTime}},
    Validate};

}  // namespace orvhost
