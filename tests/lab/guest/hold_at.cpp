// Holds a program at a point of its work, for the tests that end it exactly there: loaded in front of the C library, it
// lets a file be brought to the disk and then, when the file's last line holds the text in ORVHOST_HOLD_AT (of a file
// that is not a journal: any line), makes the file ORVHOST_HOLD_SIGN and waits for ever.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string LastPart(int descriptor, bool wholeFile) {
  constexpr std::size_t kEnough = 65536;
  char name[64];
  snprintf(name, sizeof name, "/proc/self/fd/%d", descriptor);
  const int file = open(name, O_RDONLY | O_CLOEXEC);
  const off_t size = lseek(file, 0, SEEK_END);
  std::string text(kEnough, '\0');
  const ssize_t read = pread(file, text.data(), text.size(),
                             size > static_cast<off_t>(kEnough) ? size - static_cast<off_t>(kEnough) : 0);
  close(file);
  text.resize(read > 0 ? static_cast<std::size_t>(read) : 0);
  const std::size_t lastLine = text.size() < 2 ? std::string::npos : text.rfind('\n', text.size() - 2);
  return wholeFile || lastLine == std::string::npos ? text : text.substr(lastLine + 1);
}

bool IsJournal(int descriptor) {
  char link[64];
  char name[4096];
  snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const ssize_t size = readlink(link, name, sizeof name - 1);
  return size > 6 && strncmp(name + size - 6, ".jsonl", 6) == 0;
}

void HoldIfAsked(int descriptor) {
  const char* text = getenv("ORVHOST_HOLD_AT");
  const char* sign = getenv("ORVHOST_HOLD_SIGN");
  if (text == nullptr || sign == nullptr) {
    return;
  }
  if (LastPart(descriptor, !IsJournal(descriptor)).find(text) == std::string::npos) {
    return;
  }
  close(open(sign, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
  while (true) {
    pause();
  }
}

}  // namespace

extern "C" int fdatasync(int descriptor) {
  const int result = static_cast<int>(syscall(SYS_fdatasync, descriptor));
  HoldIfAsked(descriptor);
  return result;
}

extern "C" int fsync(int descriptor) {
  const int result = static_cast<int>(syscall(SYS_fsync, descriptor));
  HoldIfAsked(descriptor);
  return result;
}
