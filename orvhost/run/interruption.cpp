#include "orvhost/run/interruption.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <system_error>

#include "refhost/interruption.h"
#include "refhost/machine.h"
#include "refhost/settings.h"

namespace orvhost {

namespace {

// All else that would end the run is no better a reason to leave the flash half written.
constexpr std::array kAsking{SIGINT,  SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGVTALRM, SIGPROF,
                             SIGUSR1, SIGUSR2, SIGPWR, SIGXCPU, SIGIO,   SIGSTKFLT};

// Those of them that this program takes, and whether it does.
sigset_t taken;
bool takes = false;

bool IsIgnored(int number) {
  struct sigaction action {};
  return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// As for a command that the host runs, so that the interrupt key is not for the child, and it ends when it is asked to.
void FreeTheChild() {
  if (!takes) {
    return;
  }
  setpgid(0, 0);
  sigprocmask(SIG_UNBLOCK, &taken, nullptr);
}

// The first that waits to be taken; "" for none. It stays there, so that everybody sees it.
std::string Asking() {
  sigset_t pending;
  sigpending(&pending);
  for (const int number : kAsking) {
    if (sigismember(&taken, number) == 1 && sigismember(&pending, number) == 1) {
      return std::string("SIG") + sigabbrev_np(number);
    }
  }
  return "";
}

long long Now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(refhost::CurrentMachine().SteadyNow().time_since_epoch())
      .count();
}

// True when the first of the two becomes readable, false when the second does.
bool WaitForEither(int first, int second) {
  std::array<pollfd, 2> sources{pollfd{first, POLLIN, 0}, pollfd{second, POLLIN, 0}};
  while (poll(sources.data(), sources.size(), -1) < 0 && errno == EINTR) {
  }
  return sources[0].revents != 0;
}

}  // namespace

void Interruption::Begin(std::function<void(const std::string&)> tell) {
  sigemptyset(&taken);
  for (const int number : kAsking) {
    if (!IsIgnored(number)) {
      sigaddset(&taken, number);
    }
  }
  signals_ = posix::FileDescriptor(signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK));
  stop_ = posix::FileDescriptor(eventfd(0, EFD_CLOEXEC));
  if (!signals_.IsOpen() || !stop_.IsOpen()) {
    signals_.Close();
    return;  // they end the run as they end any other program
  }
  pid_ = getpid();
  tell_ = std::move(tell);
  pthread_sigmask(SIG_BLOCK, &taken, nullptr);
  takes = true;
  pthread_atfork(nullptr, nullptr, FreeTheChild);
  refhost::SetInterruptDescriptor(signals_.Get());
}

void Interruption::End() {
  if (!listener_.joinable() || getpid() != pid_) {
    return;
  }
  eventfd_write(stop_.Get(), 1);
  listener_.join();
}

bool Interruption::WasAsked() const {
  return takes && !Asking().empty();
}

void Interruption::Hold(std::string_view what) {
  if (!takes || IsHeld() || getpid() != pid_) {
    return;
  }
  heldBy_ = what;
  refhost::SetInterruptDescriptor(-1);
  try {
    listener_ = std::thread([this] {
      if (WaitForEither(signals_.Get(), stop_.Get())) {
        tell_(WhyItGoesOn());
      }
    });
  } catch (const std::system_error&) {
    return;  // a machine without room for a thread: it is said at the end only
  }
}

void Interruption::FlashStarts(unsigned long limit) {
  flashEnds_ = Now() + static_cast<long long>(refhost::ScaledMilliseconds(limit));
}

std::string Interruption::WhyItGoesOn() const {
  if (flashEnds_ == 0) {
    return "Interrupted: " + heldBy_ + "; this run goes on to its end.";
  }
  constexpr long long kMinute = 60'000;
  const long long minutes = std::max((flashEnds_ - Now() + kMinute - 1) / kMinute, 1LL);
  return "The firmware is being written; this cannot be interrupted. At most " + std::to_string(minutes) +
         " min for this attempt.";
}

void Interruption::Leaves(std::string_view sentence) {
  if (std::ranges::find(left_, sentence) == left_.end()) {
    left_.emplace_back(sentence);
  }
}

std::string Interruption::Cause() const {
  const std::string asking = "Interrupted by " + Asking() + ": ";
  if (left_.empty()) {
    return asking + "nothing was changed.";
  }
  std::string text = asking + "the flash was not touched.";
  for (const std::string& sentence : left_) {
    text += " " + sentence;
  }
  return text;
}

std::string Interruption::HowItWentOn() const {
  return IsHeld() && WasAsked()
             ? "This run was asked to end (" + Asking() + ") and went on to its end, because " + heldBy_ + "."
             : "";
}

}  // namespace orvhost
