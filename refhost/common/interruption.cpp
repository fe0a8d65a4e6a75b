#include "refhost/interruption.h"

#include <atomic>

#include "refhost/common/interrupt_source.h"

namespace refhost {

namespace {

std::atomic<int> interruptDescriptor{-1};
std::atomic<bool> wasInterrupted{false};

}  // namespace

void SetInterruptDescriptor(int descriptor) {
  interruptDescriptor = descriptor;
}

bool WasInterrupted() {
  return wasInterrupted;
}

pollfd InterruptSource() {
  return {interruptDescriptor, POLLIN, 0};  // poll leaves a negative one out
}

void GiveUp() {
  wasInterrupted = true;
}

bool MustGiveUp() {
  pollfd source = InterruptSource();
  if (poll(&source, 1, 0) != 1) {
    return false;
  }
  GiveUp();
  return true;
}

}  // namespace refhost
