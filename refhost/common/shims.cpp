// The plain functions of the contract: sleeping, folders, thread id, last error and the silent debug aid.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "refhost/command_observer.h"
#include "refhost/contract.h"
#include "refhost/settings.h"

void ShowMessage(const wchar_t* /*text*/, const wchar_t* /*caption*/) {}

void ShowMessage(const wchar_t* /*text*/, const char* /*arg*/) {}

unsigned long GetCurrentThreadId() {
  return static_cast<unsigned long>(gettid());
}

void Sleep(unsigned long milliseconds) {
  const unsigned long scaled = refhost::ScaledMilliseconds(milliseconds);
  refhost::CommandObserver* observer = refhost::CurrentCommandObserver();
  if (observer != nullptr) {
    observer->PauseStarts(milliseconds);
  }
  timespec rest{static_cast<time_t>(scaled / 1000), static_cast<long>(scaled % 1000) * 1000000};
  while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
  }
  if (observer != nullptr) {
    observer->PauseEnded();
  }
}

int _mkdir(const char* path) {
  return mkdir(path, 0700);
}

unsigned long GetLastError() {
  return static_cast<unsigned long>(errno);
}
