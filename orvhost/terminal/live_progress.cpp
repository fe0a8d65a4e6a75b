#include "orvhost/terminal/live_progress.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "host/Results.h"
#include "refhost/settings.h"

namespace orvhost {

namespace {

// To the end of the screen: a terminal that became narrower has wrapped what was drawn, and nothing stands below it.
constexpr std::string_view kClear = "\r\033[J";
constexpr std::size_t kUsualWidth = 80;

// For the end of the program by an exit that somebody else calls: where a line may stand.
std::atomic<int> lineDescriptor{-1};
std::atomic<pid_t> lineOwner{0};

void ClearLineOfThisProcess() {
  const int descriptor = lineDescriptor.load();
  if (descriptor < 0 || lineOwner.load() != getpid()) {
    return;
  }
  (void)!write(descriptor, kClear.data(), kClear.size());
}

// The terminal of the standard output, opened anew: a stopped terminal must not stop the run, so nothing waits here,
// and the standard output itself stays as it is.
posix::FileDescriptor OpenTerminal() {
  std::array<char, 256> name{};
  if (ttyname_r(STDOUT_FILENO, name.data(), name.size()) != 0) {
    return posix::FileDescriptor();
  }
  return posix::FileDescriptor(open(name.data(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

bool CanShowALiveLine(const Options& options) {
  if (options.quiet || options.json || options.verbose || isatty(STDOUT_FILENO) == 0) {
    return false;
  }
  const char* kind = getenv("TERM");
  return kind != nullptr && *kind != '\0' && strcmp(kind, "dumb") != 0;
}

// One column stays free, so that no terminal wraps.
std::size_t WidthOf(const posix::FileDescriptor& terminal) {
  winsize size{};
  const bool isKnown = ioctl(terminal.Get(), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return (isKnown ? size.ws_col : kUsualWidth) - 1;
}

std::chrono::milliseconds Scaled(unsigned long milliseconds) {
  return std::chrono::milliseconds(refhost::ScaledMilliseconds(milliseconds));
}

}  // namespace

void LiveProgress::Begin(const Options& options) {
  if (!CanShowALiveLine(options)) {
    return;
  }
  terminal_ = OpenTerminal();
  if (!terminal_.IsOpen()) {
    return;
  }
  owner_ = getpid();
  start_ = Clock::now();
  lineOwner = owner_;
  std::atexit(ClearLineOfThisProcess);
  // The clock gets no signals: they are for the thread that does the work.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  clock_ = std::thread([this] { Tick(); });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool LiveProgress::IsMine() const {
  return owner_ != 0 && owner_ == getpid();
}

void LiveProgress::Hide() {
  if (!IsMine()) {
    return;
  }
  const std::scoped_lock lock(mutex_);
  hidden_ = true;
  if (!shown_) {
    return;
  }
  shown_ = false;
  drawn_.clear();
  (void)!write(terminal_.Get(), kClear.data(), kClear.size());
  lineDescriptor = -1;
}

void LiveProgress::End() {
  if (!IsMine() || !clock_.joinable()) {
    return;
  }
  Hide();
  {
    const std::scoped_lock lock(mutex_);
    ended_ = true;
  }
  changed_.notify_all();
  clock_.join();
}

void LiveProgress::Take(const refhost::TraceRecord& record) {
  if (!IsMine()) {
    return;
  }
  const std::scoped_lock lock(mutex_);
  steps_.Take(record);
  hidden_ = false;
  Draw();
}

void LiveProgress::Starts(const refhost::CommandRequest& request) {
  next_.Starts(request);
  const bool limited = request.limitMs != host::kNoTimeLimit;
  WaitFor({ProgressWait::Kind::kCommand,
           ProgramOf(request.line),
           limited ? Scaled(request.limitMs) : std::chrono::milliseconds(0),
           {}});
}

void LiveProgress::Ended(const refhost::CommandRequest& request, const refhost::CommandResult& result) {
  next_.Ended(request, result);
  WaitFor({});
}

void LiveProgress::PauseStarts(unsigned long milliseconds) {
  next_.PauseStarts(milliseconds);
  WaitFor({ProgressWait::Kind::kPause, "", Scaled(milliseconds), {}});
}

void LiveProgress::PauseEnded() {
  next_.PauseEnded();
  WaitFor({});
}

void LiveProgress::WaitFor(const ProgressWait& wait) {
  if (!IsMine()) {
    return;
  }
  const std::scoped_lock lock(mutex_);
  wait_ = wait;
  waitStart_ = Clock::now();
  Draw();
}

void LiveProgress::Tick() {
  std::unique_lock lock(mutex_);
  while (!ended_) {
    changed_.wait_for(lock, std::chrono::seconds(1));
    if (!ended_) {
      Draw();
    }
  }
}

void LiveProgress::Draw() {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  if (hidden_ || steps_.Current().words.empty()) {
    return;
  }
  const auto now = Clock::now();
  ProgressWait wait = wait_;
  wait.alreadyFor = duration_cast<milliseconds>(now - waitStart_);
  const std::string line =
      ProgressLine(steps_.Current(), wait, duration_cast<milliseconds>(now - start_), WidthOf(terminal_));
  if (shown_ && line == drawn_) {
    return;
  }
  const std::string text = std::string(kClear) + line + "\r";
  lineDescriptor = terminal_.Get();
  (void)!write(terminal_.Get(), text.data(), text.size());
  drawn_ = line;
  shown_ = true;
}

}  // namespace orvhost
