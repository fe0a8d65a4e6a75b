// orvhost validate: judges a plug-in against the host's contract, without a device.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <system_error>

#include "orvhost/commands/commands.h"
#include "orvhost/run/failure.h"
#include "orvhost/validation/validation.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;
using Status = CheckResult::Status;

class ScratchFolder {
 public:
  ScratchFolder() {
    std::error_code failure;
    const fs::path parent = fs::temp_directory_path(failure);
    if (failure) {
      throw std::system_error(failure, "the one for temporary files cannot be used");
    }
    std::string name = (fs::absolute(parent) / "orvhost-validate-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), "none can be made in " + parent.string());
    }
    path_ = name;
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

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
    for (const auto checks : {FileChecks(), LoadingChecks(), ObjectChecks()}) {
      for (const ValidationCheck& check : checks) {
        Take(check, ResultOf(check));
      }
    }
  }

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
    const ScratchFolder folder;
    Candidate candidate = candidate_;
    candidate.folder = folder.Path();
    return RunIsolated([&] { return check.run(candidate); }, limit_);
  }

  void Take(const ValidationCheck& check, const CheckResult& result) {
    constexpr std::size_t kNameWidth = 14;  // of "unknown-method"
    results_[check.name] = result.status;
    if (result.status == Status::kFail) {
      failed_.push_back(check.name);
    }
    listing_.entries.push_back({{"name", check.name},
                                {"description", check.description},
                                {"result", InWord(result.status)},
                                {"reason", result.reason}});
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

Outcome Validate(const Run& run) {
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
  outcome.facts = {{"plugin", "Plug-in", run.options.pluginPath}};
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

std::string RefuseOddTime(const std::string& text) {
  const double seconds = std::strtod(text.c_str(), nullptr);
  return seconds >= 0.001 && seconds <= 3600 ? "" : "it must be between 0.001 and 3600 seconds";
}

constexpr const char* kValidateHelp = R"(Checks a plug-in's file, its loading, its entry points and the life of its
objects against the host's contract. No device is touched: commands that the
plug-in wants to run through the host are refused and listed, and its install
path is an empty folder. Commands that a plug-in runs without the host are not
stopped, so do not validate a file that you would not load.

A plug-in for another device has a vendor class of another name: give it with
--class.

Each check has a process of its own, so a crash, an exit or a hang is its result
and the others go on. A check ends in "pass", "fail" or, when one before it that
it needs did not pass, "skip".

Examples:
  orvhost validate
  orvhost validate ./liborvp_KESTREL_BMC.so --json
  orvhost validate ./mine.so --class MINE_Vendor

Exit codes: 0 all checks pass; 2 there is no folder to check in; 3 a check
failed.)";

}  // namespace

const Command kValidateCommand = {
    "validate",
    "Check a plug-in against the host's contract",
    kValidateHelp,
    {{"file", &Options::pluginPath, "Plug-in to judge, instead of the one of --plugin", "PLUGIN.so"},
     {"--class", &Options::className, "Vendor class to ask it for, instead of CBMC_KESTREL_Vendor", "NAME"},
     {"--time-limit", &Options::timeLimit, "Seconds that each check may take", "SECONDS", false, true, RefuseOddTime}},
    Validate};

}  // namespace orvhost
