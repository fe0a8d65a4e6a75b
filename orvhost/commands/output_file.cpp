#include "orvhost/commands/output_file.h"

#include <filesystem>

#include "orvhost/run/failure.h"
#include "posix/replace_file.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kReadableByAll = 0644;

// Why no file can be made there, without a full stop; "" when nothing speaks against it.
std::string WhyUnusable(const std::string& path, OutputFile kind) {
  std::error_code error;
  const fs::file_status there = fs::status(path, error);
  if (fs::is_directory(there)) {
    return path + " is a folder";
  }
  if (fs::exists(there) && !fs::is_regular_file(there)) {
    return path + " is no regular file";
  }
  const bool isThere = fs::exists(fs::symlink_status(path, error));
  if (isThere && kind == OutputFile::kMustBeNew) {
    return path + " is there already";
  }
  const fs::path folder = fs::absolute(path, error).parent_path();
  return fs::is_directory(fs::status(folder, error)) ? "" : folder.string() + " is no folder";
}

}  // namespace

bool WriteOutputFile(const Run& run, const std::string& option, const std::string& path, std::string_view content,
                     OutputFile kind, Outcome* outcome) {
  if (const std::string reason = WhyUnusable(path, kind); !reason.empty()) {
    Fail(run, outcome,
         {.exitCode = ExitCode::kUsage,
          .verdict = "file-unusable",
          .cause = "The file cannot be made: " + reason + ".",
          .nextStep = "Give " + option + " the path of a " +
                      (kind == OutputFile::kMustBeNew ? "file that is not there yet" : "file") +
                      ", in a folder that is there."});
    return false;
  }
  std::string error;
  if (!posix::ReplaceFile(path, content, kReadableByAll, &error)) {
    Fail(
        run, outcome,
        {.exitCode = ExitCode::kFailedUntouched,
         .verdict = "file-not-written",
         .cause = "The file was not written: " + error + ".",
         .nextStep = "Make room, or give " + option + " a path that can be written, then run the same command again."});
    return false;
  }
  return true;
}

}  // namespace orvhost
