// The plain functions of the contract: sleeping, folders, thread id, last error and the silent debug aid.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "refhost/contract.h"
#include "refhost/settings.h"

void ShowMessage(const wchar_t* /*text*/, const wchar_t* /*caption*/) {}

void ShowMessage(const wchar_t* /*text*/, const char* /*arg*/) {}

unsigned long GetCurrentThreadId() {
  return static_cast<unsigned long>(gettid());
}

void Sleep(unsigned long milliseconds) {
  const unsigned long scaled = refhost::ScaledMilliseconds(milliseconds);
  timespec rest{static_cast<time_t>(scaled / 1000), static_cast<long>(scaled % 1000) * 1000000};
  while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
  }
}

int _mkdir(const char* path) {
  return mkdir(path, 0700);
}

unsigned long GetLastError() {
  return static_cast<unsigned long>(errno);
}
