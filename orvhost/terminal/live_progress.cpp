#include "orvhost/terminal/live_progress.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <utility>

#include "host/Results.h"
#include "orvhost/interface/printable.h"
#include "orvhost/terminal/terminal.h"
#include "refhost/settings.h"

namespace orvhost {

namespace {

// To the end of the screen: a terminal that became narrower has wrapped what was drawn, and nothing stands below it.
constexpr std::string_view kClear = "\r\033[J";

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

std::chrono::milliseconds Scaled(unsigned long milliseconds) {
  return std::chrono::milliseconds(refhost::ScaledMilliseconds(milliseconds));
}

}  // namespace

void LiveProgress::Begin(const Options& options, const std::vector<const char*>& phases,
                         std::function<void(const std::string&)> say) {
  if (options.quiet || options.json || options.verbose) {
    return;
  }
  if (ObeysSequences(STDOUT_FILENO)) {
    terminal_ = OpenTerminal();
  }
  phases_ = phases;
  say_ = std::move(say);
  owner_ = getpid();
  start_ = Clock::now();
  lastText_ = start_;
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

void LiveProgress::Enter(const std::string& phase) {
  if (!IsMine()) {
    return;
  }
  const std::scoped_lock lock(mutex_);
  const auto place = std::ranges::find(phases_, phase);
  if (place != phases_.end()) {
    phase_ = std::max(phase_, static_cast<std::size_t>(place - phases_.begin()) + 1);
  }
}

void LiveProgress::Hide() {
  if (!IsMine()) {
    return;
  }
  const std::scoped_lock lock(mutex_);
  hidden_ = true;
  lastText_ = Clock::now();
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
    changed_.wait_for(lock, std::min<Clock::duration>(silence_, std::chrono::seconds(1)));
    if (!ended_) {
      Draw();
      BreakSilence(&lock);
    }
  }
}

void LiveProgress::BreakSilence(std::unique_lock<std::mutex>* lock) {
  if (terminal_.IsOpen() || Clock::now() - lastText_ < silence_ || steps_.Current().words.empty()) {
    return;
  }
  const std::string line = Line(kLongestPrinted);
  lock->unlock();
  say_(line);  // which calls Hide, as every text does
  lock->lock();
}

std::string LiveProgress::Line(std::size_t width) const {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  const auto now = Clock::now();
  ProgressWait wait = wait_;
  wait.alreadyFor = duration_cast<milliseconds>(now - waitStart_);
  return ProgressLine({phase_, phases_.size(), duration_cast<milliseconds>(now - start_)}, steps_.Current(), wait,
                      width);
}

void LiveProgress::Draw() {
  if (!terminal_.IsOpen() || hidden_ || steps_.Current().words.empty()) {
    return;
  }
  const std::string line = Line(WidthOf(terminal_.Get()) - 1);  // one column stays free, so that no terminal wraps
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
