#include "orvhost/commands/preflight.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "orvhost/commands/plugin_demands.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/machine.h"
#include "posix/last_error.h"
#include "refhost/module_state.h"

namespace orvhost {

namespace {

using namespace plugin_demands;

constexpr std::uintmax_t kMiB = 1024UL * 1024UL;

FailedEnd Missing(const std::string& cause, const std::string& nextStep) {
  return {.exitCode = ExitCode::kPrerequisites,
          .verdict = "prerequisites-missing",
          .cause = cause,
          .nextStep = nextStep + ", then run the same command again."};
}

std::optional<FailedEnd> ContentsObstacle(const PlannedUpdate& update) {
  const std::string complaint = ContentsComplaint(update.method, update.package.FilesFolder());
  if (complaint.empty()) {
    return {};
  }
  return FailedEnd{.exitCode = ExitCode::kPackageUnusable,
                   .verdict = "package-unusable",
                   .cause = "The package " + update.package.Original() + " cannot be used: " + complaint + ".",
                   .nextStep = "Get a new copy of the package and try again."};
}

// The plug-in names the script in a command line without quotes, everything else between double quotes.
bool IsTakenWhole(const std::string& path, UpdateMethod method) {
  return std::ranges::all_of(path, [method](unsigned char character) {
    constexpr std::string_view kAlwaysSpecial = "\"\\`$";
    const bool isPlain = std::isalnum(character) != 0 ||
                         std::string_view("/._-+@:,%=").find(static_cast<char>(character)) != std::string_view::npos;
    return isPlain || (method == UpdateMethod::kFlashTool && std::iscntrl(character) == 0 &&
                       kAlwaysSpecial.find(static_cast<char>(character)) == std::string_view::npos);
  });
}

std::optional<FailedEnd> InstallPathObstacle(const PlannedUpdate& update) {
  const std::string& path = update.options.installPath;
  if (IsTakenWhole(path, update.method)) {
    return {};
  }
  return FailedEnd{.exitCode = ExitCode::kUsage,
                   .verdict = "install-path-unusable",
                   .cause = "No firmware can be written from below the install path " + path +
                            ": a shell would split or change that name.",
                   .nextStep =
                       "Give an install path of letters, digits and /._- with --install-path, and have what "
                       "the update needs installed there."};
}

// Why the flash tool cannot be run; "" when it can.
std::string FlashToolComplaint(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return errno == ENOENT ? "is missing" : "cannot be used (" + posix::LastError() + ")";
  }
  if (!S_ISREG(status.st_mode)) {
    return "is not a file";
  }
  if (access(path.c_str(), R_OK) != 0) {
    return "cannot be read (" + posix::LastError() + ")";
  }
  return access(path.c_str(), X_OK) != 0 ? "is not executable" : "";
}

std::optional<FailedEnd> FlashToolObstacle(const PlannedUpdate& update) {
  if (update.method != UpdateMethod::kFlashTool) {
    return {};
  }
  const std::string path = update.options.installPath + std::string(kFlashTool);
  const std::string complaint = FlashToolComplaint(path);
  if (complaint.empty()) {
    return {};
  }
  return Missing("The flash tool " + path + " " + complaint + "; the server's maker supplies it.",
                 "Install the maker's flash tool there as an executable file");
}

// On one file system nothing more is needed: the unpacked files are moved.
std::optional<FailedEnd> RoomObstacle(const PlannedUpdate& update) {
  const std::string scratch =
      (std::filesystem::path(update.options.installPath) / kScratchParent / kScratchFolder).string();
  struct stat unpacked {};
  struct stat work {};
  const bool isTheSame = stat(update.package.FilesFolder().c_str(), &unpacked) == 0 &&
                         (stat(scratch.c_str(), &work) != 0 || work.st_dev == unpacked.st_dev);
  const std::uintmax_t needed = UnpackedBytes(update.package.FilesFolder());
  std::uintmax_t free = 0;
  if (isTheSame || !refhost::FreeBytes(scratch, &free) || free >= needed) {
    return {};
  }
  return Missing("There is no room to unpack the package: " + scratch + " has " + std::to_string(free / kMiB) +
                     " MiB free, and it takes " + std::to_string(needed / kMiB + 1) + " MiB.",
                 "Make room there");
}

// An update that cannot be recorded, or leaves no journal, is not begun.
std::optional<FailedEnd> RecordsObstacle(const PlannedUpdate& update) {
  for (const std::string& folder : {refhost::ModuleStateFolder(), JournalFolder(update.options.installPath)}) {
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0) {
      continue;  // it is made
    }
    if (!S_ISDIR(status.st_mode) || access(folder.c_str(), W_OK | X_OK) != 0) {
      return Missing("An update could not be recorded: " + folder + " is not a folder that can be written to.",
                     "Make it one, or move away what stands there");
    }
  }
  return {};
}

bool HoldsPlaceholder(const std::string& pluginPath) {
  std::ifstream file(pluginPath, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return bytes.find(kPhrasePlaceholder) != std::string::npos;
}

std::optional<FailedEnd> PhraseObstacle(const PlannedUpdate& update) {
  const bool needsPhrase = update.method == UpdateMethod::kFlashTool &&
                           std::ranges::any_of(kFirmwareWithPhrase, [&](std::string_view major) {
                             return update.runningVersion.starts_with(major);
                           });
  if (!needsPhrase || IsLabMachine() || !HoldsPlaceholder(update.options.pluginPath)) {
    return {};
  }
  return Missing("The plug-in was built without the write-mode phrase, and firmware " + update.runningVersion +
                     " refuses an update without it.",
                 "Install a plug-in that was built with the phrase of the BMC's documentation "
                 "(KESTREL_WRITE_MODE_PHRASE)");
}

}  // namespace

std::optional<FailedEnd> UserObstacle() {
  if (MayWriteFirmware()) {
    return {};
  }
  return Missing(
      "Only root can write firmware and put it into operation, and this is user " + std::to_string(geteuid()) + ".",
      "Run it as root (for example with sudo)");
}

std::optional<FailedEnd> FindObstacle(const PlannedUpdate& update) {
  for (const auto& question :
       {ContentsObstacle, InstallPathObstacle, FlashToolObstacle, RecordsObstacle, RoomObstacle, PhraseObstacle}) {
    if (auto obstacle = question(update)) {
      return obstacle;
    }
  }
  return {};
}

std::string NotJudgedBeforehand(UpdateMethod method) {
  return method == UpdateMethod::kScript
             ? "what the package's script does"
             : "whether the BMC connects its virtual media, the kernel loads its sg driver, and the flash tool takes "
               "the image";
}

}  // namespace orvhost
