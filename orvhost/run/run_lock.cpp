#include "orvhost/run/run_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>

#include "posix/last_error.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int kSchema = 1;
constexpr mode_t kFileMode = 0644;
constexpr std::size_t kLongestNote = 4096;

std::string Content(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

bool HasVariable(const std::string& environment, const std::string& variable) {
  std::istringstream words(environment);
  for (std::string word; std::getline(words, word, '\0');) {
    if (word == variable) {
      return true;
    }
  }
  return false;
}

std::string ToText(const LockNote& note) {
  const json document = {{"schema", kSchema}, {"run_id", note.runId}, {"command", note.command},
                         {"pid", note.pid},   {"since", note.since},  {"ended", note.ended}};
  return document.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

LockNote NoteFrom(const json& value) {
  LockNote note;
  if (value.at("schema") != kSchema) {
    throw std::runtime_error("unknown schema");
  }
  value.at("run_id").get_to(note.runId);
  value.at("command").get_to(note.command);
  value.at("pid").get_to(note.pid);
  value.at("since").get_to(note.since);
  value.at("ended").get_to(note.ended);
  return note;
}

}  // namespace

std::string RunMark(const std::string& installPath, const std::string& runId) {
  std::error_code failure;
  const fs::path folder = fs::canonical(installPath, failure);
  return (failure ? fs::path(installPath) : folder) / runId;
}

std::vector<WorkingProcess> ProcessesOfRun(const std::string& installPath, const std::string& runId) {
  std::vector<WorkingProcess> found;
  const std::string variable = std::string(kRunVariable) + "=" + RunMark(installPath, runId);
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc", ignored)) {
    const std::string name = entry.path().filename().string();
    if (!std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; })) {
      continue;
    }
    const pid_t pid = std::stoi(name);
    // A process that ends meanwhile, or belongs to another user, reads as empty.
    if (pid == getpid() || !HasVariable(Content(entry.path() / "environ"), variable)) {
      continue;
    }
    std::string commandLine = Content(entry.path() / "cmdline");
    if (!commandLine.empty()) {
      commandLine.pop_back();
    }
    std::ranges::replace(commandLine, '\0', ' ');
    found.push_back({pid, commandLine});
  }
  std::ranges::sort(found, [](const auto& a, const auto& b) { return a.pid < b.pid; });
  return found;
}

std::string RunAtWork(const std::string& installPath) {
  const std::string path = installPath + "/orvhost.lock";
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return "";
  }
  // "1: FLOCK  ADVISORY  WRITE 4711 00:2a:131 0 EOF"; the last part of the sixth word is the file's number.
  const std::string number = ":" + std::to_string(status.st_ino) + " ";
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    if (line.find(" FLOCK ") == std::string::npos || line.find(number) == std::string::npos) {
      continue;
    }
    const json note = json::parse(Content(path), nullptr, false);
    return note.is_object() ? note.value("run_id", "") : "";
  }
  return "";
}

RunLock::Result RunLock::Take(const std::string& installPath) {
  std::error_code failure;
  fs::create_directories(installPath, failure);
  if (failure) {
    error_ = "the folder " + installPath + " cannot be made: " + failure.message();
    return Result::kUnusable;
  }
  const std::string path = installPath + "/orvhost.lock";
  file_ = posix::FileDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kFileMode));
  if (!file_.IsOpen()) {
    error_ = "the lock file " + path + " cannot be opened for writing: " + posix::LastError();
    return Result::kUnusable;
  }
  if (flock(file_.Get(), LOCK_EX | LOCK_NB) == 0) {
    ReadNote();
    Write("");  // until it is signed: the note of the run before is not the holder's
    return Result::kTaken;
  }
  if (errno == EWOULDBLOCK) {
    ReadNote();
    return Result::kBusy;
  }
  error_ = "the lock file " + path + " cannot be locked: " + posix::LastError();
  return Result::kUnusable;
}

void RunLock::Sign(const LockNote& note) {
  own_ = note;
  Write(ToText(own_));
}

void RunLock::Release(bool keepNote) {
  if (!file_.IsOpen()) {
    return;
  }
  own_.ended = true;
  Write(keepNote ? ToText(own_) : "");
  flock(file_.Get(), LOCK_UN);
  file_.Close();
}

void RunLock::ReadNote() {
  std::array<char, kLongestNote> buffer{};
  const ssize_t size = pread(file_.Get(), buffer.data(), buffer.size(), 0);
  if (size <= 0) {
    return;
  }
  try {
    found_ = NoteFrom(json::parse(buffer.data(), buffer.data() + size));
  } catch (const std::exception&) {
    foundDamage_ = true;
  }
}

// The note is for people, so a disk that takes no more does not stop the run: the lock is held all the same.
void RunLock::Write(const std::string& text) {
  if (ftruncate(file_.Get(), 0) != 0) {
    return;
  }
  [[maybe_unused]] const ssize_t size = pwrite(file_.Get(), text.data(), text.size(), 0);
}

}  // namespace orvhost
