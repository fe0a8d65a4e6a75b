// The plain functions of the contract: sleeping, folders, thread id, last error and the silent debug aid.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "refhost/command_observer.h"
#include "refhost/common/interrupt_source.h"
#include "refhost/contract.h"
#include "refhost/machine.h"

void ShowMessage(const wchar_t* /*text*/, const wchar_t* /*caption*/) {}

void ShowMessage(const wchar_t* /*text*/, const char* /*arg*/) {}

unsigned long GetCurrentThreadId() {
  return static_cast<unsigned long>(gettid());
}

void Sleep(unsigned long milliseconds) {
  refhost::CommandObserver* observer = refhost::CurrentCommandObserver();
  if (observer != nullptr) {
    observer->PauseStarts(milliseconds);
  }
  if (!refhost::CurrentMachine().Pause(milliseconds)) {
    refhost::GiveUp();
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
