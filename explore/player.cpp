#include "explore/player.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "explore/outside.h"

namespace explore {

namespace {

constexpr std::chrono::milliseconds kLook(100);
constexpr int kBeyondTheTool = 200;  // a descriptor that no run of the tool closes

std::chrono::milliseconds patience(kUsualPatienceMs);

constexpr std::array kEnding{SIGTERM, SIGINT};

std::vector<pid_t> players;  // changed only while no signal of those comes

class Undisturbed {
 public:
  Undisturbed() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : kEnding) {
      sigaddset(&ending, number);
    }
    sigprocmask(SIG_BLOCK, &ending, &before_);
  }
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;
  ~Undisturbed() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

// Of a signal: the players end first, then this process does, by that signal.
void EndWithPlayers(int number) {
  for (const pid_t player : players) {
    kill(player, SIGKILL);
    waitpid(player, nullptr, 0);
  }
  signal(number, SIG_DFL);
  raise(number);
}

void Answer(void (*how)(int)) {
  for (const int number : kEnding) {
    if (signal(number, how) == SIG_IGN) {
      signal(number, SIG_IGN);
    }
  }
}

// A player that nobody listens to ends, also when its parent was killed.
void BelongTo(pid_t parent) {
  Answer(SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(1);
  }
}

[[noreturn]] void Work(const std::function<void(const Player::Say&)>& work, int pipe) {
  CloseWhatIsOpen();  // the other players'
  work([pipe](const std::string& line) {
    const std::string whole = line + "\n";
    (void)!write(pipe, whole.data(), whole.size());
  });
  std::exit(0);  // counters of a build that has them are written then
}

}  // namespace

void SetPatience(std::chrono::milliseconds wanted) {
  patience = wanted;
}

int UntilNextLookMs() {
  return static_cast<int>(std::min(kLook, patience).count());
}

Player::Player(const std::function<void(const Say&)>& work) {
  std::array<int, 2> ends{};
  const pid_t parent = getpid();
  Answer(EndWithPlayers);
  {
    const Undisturbed here;
    if (pipe(ends.data()) != 0 || (child_ = fork()) < 0) {
      throw std::runtime_error("no process could be started");
    }
    if (child_ == 0) {
      BelongTo(parent);
    } else {
      players.push_back(child_);
    }
  }
  if (child_ == 0) {
    close(ends[0]);
    Work(work, fcntl(ends[1], F_DUPFD_CLOEXEC, kBeyondTheTool));
  }
  close(ends[1]);
  pipe_ = ends[0];
}

Player::State Player::Look(bool speaks, const Hear& hear) {
  // Of a time in which this process itself was stopped, or printed, no more counts than a look or two.
  const Clock::time_point now = Clock::now();
  taken_ += std::min<Clock::duration>(now - lookedAt_, 2 * std::min(kLook, patience));
  lookedAt_ = now;
  if (speaks) {
    std::array<char, 65536> buffer{};
    const ssize_t size = read(pipe_, buffer.data(), buffer.size());
    if (size <= 0) {
      return WaitForEnd() == 0 ? State::kDone : State::kCrashed;
    }
    said_.append(buffer.data(), static_cast<std::size_t>(size));
    HearLines(hear);
  }
  if (taken_ <= patience) {
    return State::kPlays;
  }
  kill(child_, SIGKILL);
  WaitForEnd();
  return State::kHangs;
}

void Player::HearLines(const Hear& hear) {
  std::size_t begin = 0;
  for (std::size_t end = said_.find('\n'); end != std::string::npos; end = said_.find('\n', begin)) {
    if (hear(said_.substr(begin, end - begin))) {
      taken_ = {};
    }
    begin = end + 1;
  }
  said_.erase(0, begin);
}

int Player::WaitForEnd() {
  {
    const Undisturbed here;
    std::erase(players, child_);
  }
  int status = 0;
  waitpid(child_, &status, 0);
  close(pipe_);
  return status;
}

std::string FindingOf(Player::State end, const std::string& text) {
  const std::string what = end == Player::State::kHangs ? "hangs" : "crashes";
  return "bounds: the program " + what + " for real in " + text;
}

}  // namespace explore
