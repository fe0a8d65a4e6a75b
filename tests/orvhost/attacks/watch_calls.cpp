// Runs a program and lets one of its system calls that touch files fail, whoever makes it: the program itself, the C
// library, the loader, and every process that the program forks until that runs another program. The kernel asks this
// process about each call; nothing is preloaded.
//
//   watch_calls LIST FAULT NUMBER PROGRAM [ARGUMENT...]
//
//   FAULT   none         nothing fails; LIST gets a line for each call: its number and name, "room" when it takes room
//                        on a disk, and its file
//           error        the call of that number fails, see watched_calls.h
//           short        it writes half of its bytes
//           interrupted  it fails with EINTR
//           full         it and every later one that takes room on a disk fails with ENOSPC
//           In the last four LIST gets the line of the call that fails first; none when it cannot fail that way.
//
// Ends with the program's exit code, or 128 and its signal, when the program and all that it started have ended.
#include <fcntl.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/orvhost/attacks/watched_calls.h"
#include "tests/orvhost/attacks/watched_program.h"

namespace attacks {

namespace {

std::string LinkAt(const std::string& path) {
  char target[4096];
  const ssize_t size = readlink(path.c_str(), target, sizeof target);
  return {target, size > 0 ? static_cast<std::size_t>(size) : 0};
}

// Of another process.
iovec Memory(__u64 address, std::size_t size) {
  return {reinterpret_cast<void*>(address), size};  // NOLINT(performance-no-int-to-ptr)
}

// Answers the kernel's questions.
class Watch {
 public:
  Watch(int listener, std::string program, std::string fault, unsigned long number, const char* list)
      : listener_(listener),
        program_(std::move(program)),
        fault_(std::move(fault)),
        number_(number),
        list_(list, std::ios::trunc) {}

  // False when nobody is watched any more.
  bool AnswerNext() {
    pollfd source{listener_, POLLIN, 0};
    if (poll(&source, 1, -1) < 0 || (source.revents & POLLIN) == 0) {
      return (source.revents & POLLHUP) == 0;
    }
    question_ = {};
    if (ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &question_) != 0) {
      return true;  // who was asked about has been killed meanwhile
    }
    seccomp_notif_resp answer{question_.id, 0, 0, SECCOMP_USER_NOTIF_FLAG_CONTINUE};
    const auto* call = std::ranges::find(kWatchedCalls, question_.data.nr, &WatchedCall::number);
    if (LinkAt("/proc/" + std::to_string(question_.pid) + "/exe") == program_) {
      Judge(*call, &answer);
    }
    (void)ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &answer);
    return true;
  }

 private:
  void Judge(const WatchedCall& call, seccomp_notif_resp* answer) {
    ++count_;
    const bool isListed = fault_ == "none" || count_ == number_;
    if (!isListed && !(fault_ == "full" && count_ > number_)) {
      return;
    }
    const std::string file = FileOf(call);
    const bool fails = fault_ != "none" && Fail(call, file, answer);
    if (isListed && (fails || fault_ == "none")) {
      list_ << count_ << " " << call.name << " " << (TakesRoom(call, file) ? "room " : "- ") << file << std::endl;
    }
  }

  bool Fail(const WatchedCall& call, const std::string& file, seccomp_notif_resp* answer) {
    if (file.starts_with("anon_inode:")) {
      return false;  // a counter or a timer in memory, and no file
    }
    if (fault_ == "short") {
      return WriteHalf(call, answer);
    }
    if (fault_ == "full" && !TakesRoom(call, file)) {
      return false;
    }
    // A close that fails has closed all the same.
    if (call.number == SYS_close && !Replace()) {
      return false;
    }
    answer->flags = 0;
    answer->error = fault_ == "full" ? -ENOSPC : fault_ == "interrupted" ? -EINTR : -call.error;
    return true;
  }

  bool TakesRoom(const WatchedCall& call, const std::string& file) const {
    const bool isOpen = call.place == Place::kPathAt && call.number == SYS_openat;
    const bool creates = !isOpen || (question_.data.args[2] & O_CREAT) != 0;
    return call.takesRoom && creates && file.starts_with("/") && file != "/dev/null" && !file.starts_with("/memfd:") &&
           !file.starts_with("/proc/");
  }

  bool WriteHalf(const WatchedCall& call, seccomp_notif_resp* answer) const {
    const std::size_t half = question_.data.args[2] / 2;
    if (call.number != SYS_write || half == 0) {
      return false;
    }
    std::string bytes(half, '\0');
    const iovec here{bytes.data(), half};
    const iovec there = Memory(question_.data.args[1], half);
    const int process = static_cast<int>(syscall(SYS_pidfd_open, question_.pid, 0));
    const int file = static_cast<int>(syscall(SYS_pidfd_getfd, process, question_.data.args[0], 0));
    const bool written =
        file >= 0 &&
        process_vm_readv(static_cast<pid_t>(question_.pid), &here, 1, &there, 1, 0) == static_cast<ssize_t>(half) &&
        write(file, bytes.data(), half) == static_cast<ssize_t>(half);
    close(file);
    close(process);
    if (written) {
      answer->flags = 0;
      answer->val = static_cast<__s64>(half);
    }
    return written;
  }

  bool Replace() const {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    seccomp_notif_addfd replaced{question_.id, SECCOMP_ADDFD_FLAG_SETFD, static_cast<__u32>(nothing),
                                 static_cast<__u32>(question_.data.args[0]), O_CLOEXEC};
    const bool done = ioctl(listener_, SECCOMP_IOCTL_NOTIF_ADDFD, &replaced) >= 0;
    close(nothing);
    return done;
  }

  std::string FileOf(const WatchedCall& call) const {
    const auto& words = question_.data.args;
    const std::string process = "/proc/" + std::to_string(question_.pid);
    const auto descriptor = [&](__u64 number) {
      return static_cast<int>(number) == AT_FDCWD ? LinkAt(process + "/cwd")
                                                  : LinkAt(process + "/fd/" + std::to_string(number));
    };
    const auto at = [&](__u64 folder, __u64 name) {
      const std::string text = TextAt(name);
      return text.starts_with("/") ? text : descriptor(folder) + (text.empty() ? "" : "/" + text);
    };
    switch (call.place) {
      case Place::kDescriptor:
        return descriptor(words[0]);
      case Place::kPath:
        return TextAt(words[0]);
      case Place::kPathAt:
        return at(words[0], words[1]);
      case Place::kSecondPath:
        return TextAt(words[1]);
      case Place::kSecondPathAt:
        return call.number == SYS_symlinkat ? at(words[1], words[2]) : at(words[2], words[3]);
      case Place::kMappedFile:
        return descriptor(words[4]);
      case Place::kNowhere:
        break;
    }
    return "-";
  }

  std::string TextAt(__u64 address) const {
    char text[4096]{};
    const iovec here{text, sizeof text - 1};
    iovec there = Memory(address, sizeof text - 1);
    const auto process = static_cast<pid_t>(question_.pid);
    if (process_vm_readv(process, &here, 1, &there, 1, 0) < 0) {
      constexpr std::size_t kPage = 4096;  // the text ends before the memory does
      there.iov_len = kPage - address % kPage;
      (void)process_vm_readv(process, &here, 1, &there, 1, 0);
    }
    return text;
  }

  const int listener_;
  const std::string program_;
  const std::string fault_;
  const unsigned long number_;
  std::ofstream list_;
  seccomp_notif question_{};
  unsigned long count_ = 0;
};

int Main(char** words) {
  char whole[4096];
  const std::string program = realpath(words[4], whole) != nullptr ? whole : "";
  const WatchedProgram started = StartWatched(words + 4);
  Watch watch(started.listener, program, words[2], strtoul(words[3], nullptr, 10), words[1]);
  while (watch.AnswerNext()) {
  }
  int status = 0;
  waitpid(started.process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace
}  // namespace attacks

int main(int count, char** words) {
  return count > 4 ? attacks::Main(words) : 125;
}
