#include "orvhost/journal/journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "host/DllCommon.h"
#include "host/Results.h"
#include "orvhost/journal/journal_folder.h"
#include "posix/last_error.h"
#include "posix/sync.h"
#include "refhost/machine.h"

namespace orvhost {

namespace {

using nlohmann::ordered_json;

constexpr int kSchema = 2;
constexpr mode_t kFileMode = 0640;

// A journal has this name up to its first line, so that one without a line is always a damaged one. Only the holder of
// the lock makes journals.
std::string Unfinished(const std::string& folder) {
  return folder + "/unfinished";
}

ordered_json ToJson(const Options& options) {
  return {{"package", options.packagePath},
          {"dry_run", options.dryRun},
          {"allow_older", options.allowOlder},
          {"allow_reinstall", options.allowReinstall},
          {"method", options.methodName},
          {"out", options.outFolder},
          {"yes", options.yes},
          {"json", options.json},
          {"quiet", options.quiet},
          {"log_file", options.logFile}};
}

// The file that the command's output goes to; "" when it is not kept. A plug-in redirects by the line itself.
std::string OutputFileOf(const refhost::CommandRequest& request) {
  if (!request.outputFile.empty()) {
    return std::string(request.outputFile);
  }
  constexpr std::string_view kRedirection = "> \"";
  const std::size_t start = request.line.rfind(kRedirection);
  if (start == std::string_view::npos || request.line.back() != '"') {
    return "";
  }
  const std::size_t name = start + kRedirection.size();
  return name < request.line.size() ? std::string(request.line.substr(name, request.line.size() - name - 1)) : "";
}

const char* InWords(const refhost::CommandResult& result) {
  if (result.result == host::kCommandTimedOut) {
    return "timed-out";
  }
  if (result.neverStarted) {
    return "not-started";
  }
  return result.result == host::kCommandRan ? "exited" : "not-run";
}

}  // namespace

bool Journal::Begin(const std::string& runId, const std::string& command, const Options& options, std::string* error) {
  const std::string folder = JournalFolder(options.installPath);
  const std::string path = JournalPath(folder, runId);
  start_ = refhost::CurrentMachine().SteadyNow();
  pid_ = getpid();
  std::error_code ignored;
  const std::string program = std::filesystem::read_symlink("/proc/self/exe", ignored).string();
  const bool begun = Create(folder, path) && Append("begin",
                                                    {{"schema", kSchema},
                                                     {"run_id", runId},
                                                     {"command", command},
                                                     {"options", ToJson(options)},
                                                     {"program", program},
                                                     {"plugin", options.pluginPath},
                                                     {"version", ORVHOST_VERSION},
                                                     {"install_path", options.installPath},
                                                     {"server_type", CCommon_Information::GetServerType("bmc")},
                                                     {"pid", pid_},
                                                     {"boot_id", refhost::CurrentMachine().BootId()}},
                                                    Durable::kYes);
  if (begun && rename(Unfinished(folder).c_str(), path.c_str()) == 0 && posix::SyncFolder(folder)) {
    return true;
  }
  *error = "the journal " + path + " cannot be written: " + posix::LastError();
  if (file_.IsOpen()) {
    unlink(Unfinished(folder).c_str());
    unlink(path.c_str());
  }
  file_.Close();
  return false;
}

bool Journal::Create(const std::string& folder, const std::string& path) {
  std::error_code failure;
  const bool made = std::filesystem::create_directories(folder, failure);
  if (made) {
    (void)posix::SyncFolder(folder + "/..");
  }
  if (!DropOldRuns(folder)) {
    return false;
  }
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0) {
    errno = EEXIST;
    return false;
  }
  const std::string unfinished = Unfinished(folder);
  unlink(unfinished.c_str());
  file_ =
      posix::FileDescriptor(open(unfinished.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode));
  return file_.IsOpen();
}

void Journal::Phase(const std::string& name) {
  Append("phase", {{"name", name}}, Durable::kYes);
}

void Journal::Notice(const std::string& sentence) {
  Append("notice", {{"text", sentence}}, Durable::kNo);
}

void Journal::Package(const TakenPackage& package) {
  Append("package",
         {{"path", package.path},
          {"sha256", package.sha256},
          {"size", package.size},
          {"signature", package.signature},
          {"signed_by", package.signedBy},
          {"signing_key", package.signingKey}},
         Durable::kYes);
}

void Journal::Trace(const refhost::TraceRecord& record, const TraceWatch& watch) {
  if (record.level == 0) {
    Append("record",
           {{"id", std::string(record.messageId)},
            {"detail", std::string(record.detail)},
            {"text", std::string(record.text)}},
           Durable::kYes);
    return;
  }
  const bool startsFlash = watch.FlashBegan() && !flashBegan_;
  const bool matters = watch.FlashBegan() != flashBegan_ || watch.ShutdownWasRequested() != goingDown_;
  flashBegan_ = watch.FlashBegan();
  goingDown_ = watch.ShutdownWasRequested();
  const bool isKept = Append("trace", {{"level", record.level}, {"text", std::string(record.text)}},
                             matters ? Durable::kYes : Durable::kNo);
  if (startsFlash) {
    lostStartOfFlash_ = file_.IsOpen() && !isKept;
  }
}

void Journal::TakeErrorText(const ErrorText& text, Writer writer) {
  Append("error_output",
         {{"n", writer == Writer::kLastCommand ? ordered_json(commands_.load()) : ordered_json()},
          {"text", text.text},
          {"cut", text.isCut}},
         Durable::kNo);
}

void Journal::Starts(const refhost::CommandRequest& request) {
  const ordered_json limit = request.limitMs == host::kNoTimeLimit ? ordered_json() : ordered_json(request.limitMs);
  Append("command",
         {{"n", ++commands_},
          {"line", std::string(request.line)},
          {"work_dir", std::string(request.workDir)},
          {"limit_ms", limit}},
         Durable::kYes);
}

void Journal::Ended(const refhost::CommandRequest& request, const refhost::CommandResult& result) {
  if (result.neverStarted) {
    flashBegan_ = false;  // its next start is one
  }
  const int number = commands_;
  Append("command_end",
         {{"n", number},
          {"result", InWords(result)},
          {"exit_code", result.result == host::kCommandRan ? ordered_json(result.exitStatus) : ordered_json()}},
         Durable::kNo);
  if (!file_.IsOpen()) {
    return;
  }
  if (request.wantsFirstLine) {
    const std::string text(result.output.substr(0, kLongestResponse));
    Append("response", {{"n", number}, {"text", text}, {"cut", text.size() < result.output.size()}}, Durable::kNo);
  } else if (const std::string path = OutputFileOf(request); !path.empty()) {
    KeepResponse(number, path);
  }
}

void Journal::KeepResponse(int number, const std::string& path) {
  const posix::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return;
  }
  std::array<char, kLongestResponse> buffer{};
  const ssize_t size = pread(file.Get(), buffer.data(), buffer.size(), 0);
  if (size < 0) {
    return;
  }
  Append("response",
         {{"n", number},
          {"text", std::string(buffer.data(), static_cast<std::size_t>(size))},
          {"cut", status.st_size > size}},
         Durable::kNo);
}

void Journal::End(const Outcome& outcome) {
  Append("end", {{"outcome", ordered_json::parse(orvhost::ToJson(outcome))}}, Durable::kYes);
  file_.Close();
}

bool Journal::Append(const char* kind, const ordered_json& fields, Durable durable) {
  if (!file_.IsOpen()) {
    return false;
  }
  const std::chrono::duration<double> since = refhost::CurrentMachine().SteadyNow() - start_;
  ordered_json line = {{"t", refhost::UtcNow()}, {"s", std::round(since.count() * 1e6) / 1e6}, {"kind", kind}};
  if (const int pid = getpid(); pid != pid_) {
    line["child"] = pid;  // a child of the plug-in's own
  }
  line.update(fields);
  std::string text = line.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
  if (lineIsTorn_.exchange(false)) {
    text.insert(0, "\n");
  }
  if (posix::WriteAll(file_.Get(), text.data(), text.size()) &&
      (durable == Durable::kNo || fdatasync(file_.Get()) == 0)) {
    return true;
  }
  const int why = errno;
  lineIsTorn_ = true;
  if (!hasFailed_.exchange(true) && tell_) {
    tell_(posix::ErrorText(why));
  }
  errno = why;
  return false;
}

}  // namespace orvhost
