// orvhost report: has the plug-in write its device configuration report, and tells where it is and what it says.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "host/DllCommon.h"
#include "host/Results.h"
#include "orvhost/commands/commands.h"
#include "orvhost/commands/report_file.h"
#include "orvhost/run/failure.h"
#include "orvhost/trace/plugin_lines.h"
#include "orvhost/trace/remedy.h"
#include "posix/last_error.h"

namespace orvhost {

namespace {

namespace records = plugin_lines::records;

// The folder for the report as an absolute path that ends with a separator; "" with the failure in `*outcome`.
std::string FindFolder(const Run& run, Outcome* outcome) {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::canonical(run.options.outFolder, error);
  if (!error && !is_directory(folder, error) && !error) {
    error = std::make_error_code(std::errc::not_a_directory);
  }
  if (!error && access(folder.c_str(), W_OK | X_OK) != 0) {
    error = {errno, std::generic_category()};
  }
  if (!error) {
    return (folder / "").string();
  }
  Fail(run, outcome,
       {.exitCode = ExitCode::kUsage,
        .verdict = "folder-unusable",
        .cause = "The report cannot be written to the folder " + run.options.outFolder + ": " + error.message() + ".",
        .nextStep = "Give another folder with --out, or make this one usable."});
  return "";
}

bool IsDiskFull(const Run& run) {
  const std::vector<std::string> lines = run.watch.Gathered().trace;
  return std::ranges::any_of(lines, [](const std::string& line) { return line.ends_with(posix::ErrorText(ENOSPC)); });
}

void ExplainFailure(const Run& run, const std::string& path, Outcome* outcome) {
  const bool isFile =
      run.watch.LastMessageId() == records::kReportFailed && run.watch.LastDetail() == records::kReportNotWritten;
  const std::string old = CFileUtility::IsFileExist(path) ? " The file " + path + " is an earlier one." : "";
  if (isFile) {
    Fail(run, outcome,
         {.exitCode = FailedExitCode(run),
          .verdict = "report-not-written",
          .cause = "The report could not be written to " + path +
                   (IsDiskFull(run) ? ", because the disk is full." : ".") + old,
          .nextStep = RemedyThenAgain(run.watch)});
  } else {
    Fail(run, outcome,
         {.exitCode = FailedExitCode(run),
          .verdict = "report-failed",
          .cause = "The report could not be made." + old,
          .nextStep = RemedyThenAgain(run.watch)});
  }
}

bool Write(const Run& run, const Session& session, const std::string& folder, Outcome* outcome) {
  CVendor& vendor = session.Vendor();
  if (vendor.StartOutputDeviceConfigInfo(folder, nullptr) != host::kSuccess) {
    ExplainFailure(run, folder + kReportFileName, outcome);
    return false;
  }
  const int result = vendor.ExecOutputDeviceConfigInfo(folder, nullptr);
  vendor.EndOutputDeviceConfigInfo(folder, nullptr);
  if (result == host::kSuccess) {
    run.interruption.Leaves("The report is in " + folder + kReportFileName + ".");
    return true;
  }
  if (result == host::kNoReport) {
    Fail(run, outcome,
         {.exitCode = ExitCode::kDoesNotFit,
          .verdict = "no-report",
          .cause = "There is no report for a server of the type " + CCommon_Information::GetServerType("bmc") + ".",
          .nextStep = "Run \"orvhost identify\" for what is known about this machine."});
  } else {
    ExplainFailure(run, folder + kReportFileName, outcome);
  }
  return false;
}

void Tell(const Run& run, const std::string& path, Outcome* outcome) {
  std::vector<std::pair<std::string, std::string>> items;
  std::string error;
  if (!ReadReportFile(path, &items, &error)) {
    Fail(run, outcome,
         {.exitCode = FailedExitCode(run),
          .verdict = "report-unreadable",
          .cause = "The report in " + path + " cannot be read back: " + error + ".",
          .nextStep = "Run the same command again."});
    return;
  }
  outcome->verdict = "reported";
  outcome->summary = "The report is in " + path + ".";
  // What reads a text that goes elsewhere than to a terminal needs no more than the place.
  if (!run.options.json && !run.console.IsTerminal()) {
    return;
  }
  outcome->facts = {{"file", "File", path}};
  for (const auto& [name, value] : items) {
    outcome->facts.push_back({FactKey(name), name, value});
  }
}

Outcome Report(const Run& run) {
  Outcome outcome;
  EnterPhase(run, &outcome, "folder");
  const std::string folder = FindFolder(run, &outcome);
  if (folder.empty()) {
    return outcome;
  }
  EnterPhase(run, &outcome, "plug-in");
  const std::unique_ptr<Session> session = OpenSession(run, DamagedRecords::kKeepAside, &outcome);
  if (!session) {
    return outcome;
  }
  EnterPhase(run, &outcome, "prerequisites");
  if (!HasPrerequisites(run, *session, &outcome)) {
    return outcome;
  }
  EnterPhase(run, &outcome, "report");
  if (Write(run, *session, folder, &outcome)) {
    Tell(run, folder + kReportFileName, &outcome);
  }
  return outcome;
}

// What a script passes whose variable is not set: no name, or with "--out=" the option behind it.
std::string RefuseNoName(const std::string& folder) {
  if (!folder.empty() && folder.front() != '-') {
    return "";
  }
  return "the folder has no name (./NAME for one that begins with a dash)";
}

constexpr const char* kReportHelp = R"(Writes Kestrel_BmcConfigInfo.xml: the server's product name, version and serial
number, its firmware versions, and the network settings of the BMC's web console
where the server has one. Prints where the file is; at a terminal or with
--json also its content, read back from the file. A BMC that does not answer is
asked again, which may take minutes.

DIR must be there and writable; without --out it is the current folder. A file
of an earlier run is replaced only by a complete new one; if anything fails, it
stays as it is.

Examples:
  orvhost report
  orvhost report --out /var/lib/inventory
  orvhost report --json | jq -r '.facts.ip_address'

Exit codes: 0 written; 2 the folder cannot be used; 3 no plug-in; 4 something is
missing on this machine; 6 there is no report for this server family; 7 not made
or not written.)";

}  // namespace

const Command kReportCommand = {
    "report",    "Write the device configuration report and show it",
    kReportHelp, {{"--out", &Options::outFolder, "Folder for the report", "DIR", false, true, RefuseNoName}},
    Report,      {"folder", "plug-in", "prerequisites", "report"}};

}  // namespace orvhost
