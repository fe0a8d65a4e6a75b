#include "orvhost/run/run_processes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <system_error>
#include <thread>

#include "orvhost/run/machine.h"
#include "posix/last_error.h"
#include "posix/regular_file.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;
using Wanted = std::function<bool(const std::string& mark)>;

// More than the kernel takes as arguments and environment of one program.
constexpr std::size_t kLongestText = 16UL * 1024UL * 1024UL;

// The machine's first process, which no run starts; where this is a container it may not be looked at.
constexpr pid_t kFirstProcess = 1;

// The number of a folder of /proc; nothing for what is no process, or none that a run has left.
std::optional<pid_t> ProcessNumber(const fs::path& folder) {
  const std::string name = folder.filename().string();
  if (name.empty() || !std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; })) {
    return {};
  }
  const pid_t pid = std::stoi(name);
  return pid == getpid() || pid == kFirstProcess ? std::nullopt : std::optional<pid_t>(pid);
}

// Root's and this user's, by the real user, who remains the one that started a set-user-ID program.
bool IsLookedAt(const fs::path& folder) {
  const std::string status = posix::ReadRegularFile(folder / "status", kLongestText).value_or("");
  const std::size_t at = status.find("\nUid:\t");
  if (at == std::string::npos) {
    return false;
  }
  const unsigned long user = std::strtoul(status.c_str() + at + 6, nullptr, 10);
  return user == geteuid() || user == 0;
}

std::string CommandLine(const fs::path& folder) {
  std::string words = posix::ReadRegularFile(folder / "cmdline", kLongestText).value_or("");
  if (!words.empty()) {
    words.pop_back();
  }
  std::ranges::replace(words, '\0', ' ');
  return words;
}

bool IsOfThisMachine(const std::string& environment) {
  const std::string folder = MachineFolder();
  return folder == kUsualMachineFolder || ValueIn(environment, kLockFolderVariable) == folder;
}

// Whether the kernel's own numbers say that a process has no environment (proc(5), stat). Neither a kernel thread nor
// one that has ended has memory. One that is about to become another program has memory, and no environment yet.
bool HasNoEnvironment(const fs::path& folder) {
  constexpr std::size_t kMemory = 23;  // vsize
  constexpr std::size_t kStart = 50;   // env_start
  constexpr std::size_t kEnd = 51;     // env_end
  const std::string stat = posix::ReadRegularFile(folder / "stat", kLongestText).value_or("");
  // The second field, the program's name in parentheses, may hold any character.
  std::istringstream behindName(stat.substr(std::min(stat.size(), stat.rfind(')') + 1)));
  std::vector<std::string> fields(3);  // counted from 1, as the manual does; the first two stand before
  for (std::string field; behindName >> field;) {
    fields.push_back(field);
  }
  if (fields.size() <= kEnd) {
    return true;  // it has ended meanwhile
  }
  return fields[kMemory] == "0" || (fields[kEnd] != "0" && fields[kEnd] == fields[kStart]);
}

// The environment of a process. While the process becomes another program the kernel shows none, which must not hide
// what a run has left, so that is waited for. Nothing, with errno set, when it cannot be read, EBUSY when it does not
// show in a second.
std::optional<std::string> ReadEnvironment(const fs::path& folder) {
  constexpr int kTries = 1000;
  for (int i = 0; i < kTries; ++i) {
    auto environment = posix::ReadRegularFile(folder / "environ", kLongestText);
    if (!environment || !environment->empty() || HasNoEnvironment(folder)) {
      return environment;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  errno = EBUSY;
  return {};
}

void LookAt(const fs::path& folder, pid_t pid, const Wanted& isWanted, WorkingProcesses* processes) {
  const auto environment = ReadEnvironment(folder);
  if (!environment) {
    // One that has ended meanwhile cannot be read either. Only root may look at everything that is looked at here.
    if (errno == EBUSY || (geteuid() == 0 && (errno == EACCES || errno == EPERM))) {
      processes->unseen = "process " + std::to_string(pid) + " cannot be looked at: " + posix::LastError();
    }
    return;
  }
  const auto mark = ValueIn(*environment, kRunVariable);
  if (mark && isWanted(*mark) && IsOfThisMachine(*environment)) {
    processes->found.push_back({pid, CommandLine(folder)});
  }
}

WorkingProcesses LookFor(const Wanted& isWanted) {
  WorkingProcesses processes;
  std::error_code failure;
  bool isProc = false;
  fs::directory_iterator entry("/proc", failure);
  for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
    isProc |= entry->path().filename() == "self";
    const std::optional<pid_t> pid = ProcessNumber(entry->path());
    if (pid && IsLookedAt(entry->path())) {
      LookAt(entry->path(), *pid, isWanted, &processes);
    }
  }
  if (failure || !isProc) {
    processes.unseen = "/proc cannot be read" + (failure ? ": " + failure.message() : "; it is not mounted");
  }
  std::ranges::sort(processes.found, {}, &WorkingProcess::pid);
  return processes;
}

}  // namespace

std::string RunMark(const std::string& installPath, const std::string& runId) {
  std::error_code failure;
  const fs::path folder = fs::canonical(installPath, failure);
  return (failure ? fs::path(installPath) : folder) / runId;
}

WorkingProcesses ProcessesOfRun(const std::string& installPath, const std::string& runId) {
  const std::string wanted = RunMark(installPath, runId);
  return LookFor([&wanted](const std::string& mark) { return mark == wanted; });
}

WorkingProcesses ProcessesOfFolder(const std::string& installPath) {
  const std::string folder = RunMark(installPath, "");
  return LookFor([&folder](const std::string& mark) {
    return mark.starts_with(folder) && mark.find('/', folder.size()) == std::string::npos;
  });
}

WorkingProcesses ProcessesOfMachine() {
  return LookFor([](const std::string&) { return true; });
}

std::string InWords(const std::vector<WorkingProcess>& processes) {
  std::string text;
  for (const WorkingProcess& process : processes) {
    text += (text.empty() ? "" : ", ") + std::to_string(process.pid) + " (" + process.commandLine + ")";
  }
  return text;
}

std::optional<std::string> ValueIn(const std::string& environment, std::string_view name) {
  std::istringstream words(environment);
  for (std::string word; std::getline(words, word, '\0');) {
    if (word.starts_with(name) && word.size() > name.size() && word[name.size()] == '=') {
      return word.substr(name.size() + 1);
    }
  }
  return {};
}

}  // namespace orvhost
