#include "orvhost/run/error_output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <system_error>

// There in a program that a sanitizer looks into, and its report is for whoever runs that.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" __attribute__((weak)) void __sanitizer_set_report_fd(void* descriptor);

namespace orvhost {

namespace {

void SendSanitizersReportTo(int descriptor) {
  if (__sanitizer_set_report_fd != nullptr) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): its parameter has this form.
    __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)));
  }
}

// For a process that aborts: what it says last is read by nobody else.
std::atomic<int> lastReader{-1};
std::atomic<int> lastOriginal{-1};

void TellAndDie(int number) {
  std::array<char, 512> buffer{};
  for (ssize_t size = 0; (size = read(lastReader, buffer.data(), buffer.size())) > 0;) {
    (void)!write(lastOriginal, buffer.data(), static_cast<std::size_t>(size));
  }
  signal(number, SIG_DFL);
  raise(number);
}

}  // namespace

void ErrorOutput::Begin() {
  posix::FileDescriptor original(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  posix::FileDescriptor file(memfd_create("error output", MFD_CLOEXEC));
  // Opened a second time: what is read here moves nobody's place of writing, and a child of this process shares it.
  const std::string path = "/proc/self/fd/" + std::to_string(file.Get());
  posix::FileDescriptor reader(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!original.IsOpen() || !reader.IsOpen() || fcntl(file.Get(), F_SETFL, O_APPEND) != 0 ||
      dup2(file.Get(), STDERR_FILENO) < 0) {
    return;
  }
  original_ = std::move(original);
  file_ = std::move(file);
  reader_ = std::move(reader);
  SendSanitizersReportTo(original_.Get());
  lastReader = reader_.Get();
  lastOriginal = original_.Get();
  signal(SIGABRT, TellAndDie);
  pid_ = getpid();
  stop_ = posix::FileDescriptor(eventfd(0, EFD_CLOEXEC));
}

void ErrorOutput::KeepSmall() {
  if (!original_.IsOpen() || trimmer_.joinable() || getpid() != pid_) {
    return;
  }
  try {
    trimmer_ = std::thread([this] { GiveMemoryBack(); });
  } catch (const std::system_error&) {
    return;  // a machine without room for a thread: it is given back at the next look
  }
}

// All but the last bytes, which a look may still want. As long as there is much it does not wait.
void ErrorOutput::GiveMemoryBack() {
  constexpr off_t kKept = 1024L * 1024L;
  constexpr int kPauseMs = 10;
  off_t done = 0;
  pollfd stop{stop_.Get(), POLLIN, 0};
  for (int pause = kPauseMs; poll(&stop, 1, pause) <= 0;) {
    struct stat status {};
    (void)fstat(file_.Get(), &status);
    done = std::min(done, status.st_size);  // a program has emptied the file
    pause = kPauseMs;
    if (const off_t end = status.st_size - kKept; end - done > kKept) {
      (void)fallocate(file_.Get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, done, end - done);
      done = end;
      pause = 0;
    }
  }
}

ErrorText ErrorOutput::Take() {
  struct stat status {};
  if (!reader_.IsOpen() || fstat(reader_.Get(), &status) != 0) {
    return {};
  }
  off_t place = lseek(reader_.Get(), 0, SEEK_CUR);
  if (status.st_size < place) {
    place = 0;  // a program has opened /dev/stderr, and the file was emptied by that
  }
  const off_t begin = std::max(place, status.st_size - static_cast<off_t>(kLongestErrorText));
  if (begin == status.st_size || lseek(reader_.Get(), begin, SEEK_SET) < 0) {
    return {};
  }
  ErrorText taken{std::string(static_cast<std::size_t>(status.st_size - begin), '\0'), begin > place};
  const ssize_t size = read(reader_.Get(), taken.text.data(), taken.text.size());
  taken.text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  // What was read needs no memory any more; who writes goes on where it was.
  (void)fallocate(file_.Get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, status.st_size);
  return taken;
}

void ErrorOutput::Echo(const std::string& text) const {
  (void)posix::WriteAll(original_.Get(), text.data(), text.size());
}

void ErrorOutput::End() {
  if (!original_.IsOpen()) {
    return;
  }
  if (trimmer_.joinable() && getpid() == pid_) {
    eventfd_write(stop_.Get(), 1);
    trimmer_.join();
  }
  signal(SIGABRT, SIG_DFL);
  dup2(original_.Get(), STDERR_FILENO);
  SendSanitizersReportTo(STDERR_FILENO);
  original_.Close();
  file_.Close();
  reader_.Close();
}

}  // namespace orvhost
