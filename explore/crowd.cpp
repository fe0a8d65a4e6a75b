#include "explore/crowd.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "explore/outside.h"

namespace explore {

namespace {

constexpr std::size_t kSlice = 125;
constexpr int kLookMs = 100;
constexpr int kBeyondTheTool = 200;  // a descriptor that no run of the tool closes
constexpr char kBetween = '\x1f';

std::string Line(std::size_t number, const Played& played) {
  std::string line = std::to_string(number);
  const auto add = [&line](const std::string& text) { line += kBetween + text; };
  add(played.verdict);
  add(std::to_string(played.exitCode));
  add(played.flashTouched ? "1" : "0");
  add(played.ends ? "1" : "0");
  add(std::to_string(played.steps));
  add(played.way);
  add(std::to_string(played.complaints.size()));
  for (const std::string& finding : played.findings) {
    add(finding);
  }
  std::ranges::replace(line, '\n', ' ');
  return line + "\n";
}

void Take(const std::string& line, std::vector<Result>* results) {
  std::vector<std::string> words;
  std::istringstream stream(line);
  for (std::string word; std::getline(stream, word, kBetween);) {
    words.push_back(word);
  }
  Result& result = results->at(std::stoul(words.at(0)));
  result = {
      words.at(1), std::stoi(words.at(2)),           words.at(3) == "1",    words.at(4) == "1", std::stoi(words.at(5)),
      words.at(6), {words.begin() + 8, words.end()}, std::stoi(words.at(7))};
}

// A child with its slice, and what it has said so far.
class Player {
 public:
  Player(const std::vector<Scenario>& scenarios, std::size_t first, std::size_t last, const HowToPlay& play)
      : first_(first), last_(last) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0 || (child_ = fork()) < 0) {
      throw std::runtime_error("no process could be started");
    }
    if (child_ == 0) {
      close(ends[0]);
      Work(scenarios, play, fcntl(ends[1], F_DUPFD_CLOEXEC, kBeyondTheTool));
    }
    close(ends[1]);
    pipe_ = ends[0];
  }

  // False at the end of what it says.
  bool Listen(std::vector<Result>* results) {
    std::array<char, 65536> buffer{};
    const ssize_t size = read(pipe_, buffer.data(), buffer.size());
    if (size <= 0) {
      return false;
    }
    heardAt_ = Clock::now();
    said_.append(buffer.data(), static_cast<std::size_t>(size));
    for (std::size_t end = said_.find('\n'); end != std::string::npos; end = said_.find('\n')) {
      Take(said_.substr(0, end), results);
      said_.erase(0, end + 1);
      ++done_;
    }
    return true;
  }

  // What it was at when it ended too early is a finding, and the next one goes on behind that.
  std::size_t End(const std::vector<Scenario>& scenarios, bool hangs, std::vector<Result>* results) {
    if (hangs) {
      kill(child_, SIGKILL);
    }
    int status = 0;
    waitpid(child_, &status, 0);
    close(pipe_);
    const std::size_t next = first_ + done_;
    if (status == 0 && next == last_) {
      return next;
    }
    Result& result = results->at(next);
    result.verdict = hangs ? "hangs" : "crashed";
    result.findings.push_back("bounds: the program " + std::string(hangs ? "hangs" : "crashes") + " for real in " +
                              Text(scenarios[next]));
    return next + 1;
  }

  [[nodiscard]] int Pipe() const { return pipe_; }
  [[nodiscard]] bool IsSilentFor(std::chrono::milliseconds time) const { return Clock::now() - heardAt_ > time; }

 private:
  [[noreturn]] void Work(const std::vector<Scenario>& scenarios, const HowToPlay& play, int pipe) const {
    CloseWhatIsOpen();  // the other players'
    {
      Disk disk;
      for (std::size_t at = first_; at < last_; ++at) {
        const std::string line = Line(at, play(scenarios[at], disk));
        (void)!write(pipe, line.data(), line.size());
      }
    }
    std::exit(0);  // counters of a build that has them are written then
  }

  using Clock = std::chrono::steady_clock;

  std::size_t first_;
  std::size_t last_;
  Clock::time_point heardAt_ = Clock::now();
  std::size_t done_ = 0;
  pid_t child_ = -1;
  int pipe_ = -1;
  std::string said_;
};

// The slices that are still to be played, as first and last number.
using Slices = std::vector<std::pair<std::size_t, std::size_t>>;

}  // namespace

std::vector<Result> PlayAll(const std::vector<Scenario>& scenarios, int processes, int patienceMs,
                            const HowToPlay& play) {
  std::vector<Result> results(scenarios.size());
  Slices waiting;
  for (std::size_t first = 0; first < scenarios.size(); first += kSlice) {
    waiting.emplace_back(first, std::min(first + kSlice, scenarios.size()));
  }
  std::ranges::reverse(waiting);
  std::vector<std::pair<Player, std::size_t>> atWork;  // each with the end of its slice
  while (!waiting.empty() || !atWork.empty()) {
    while (!waiting.empty() && atWork.size() < static_cast<std::size_t>(processes)) {
      const auto [first, last] = waiting.back();
      waiting.pop_back();
      atWork.emplace_back(Player(scenarios, first, last, play), last);
    }
    std::vector<pollfd> sources;
    sources.reserve(atWork.size());
    for (const auto& [player, last] : atWork) {
      sources.push_back({player.Pipe(), POLLIN, 0});
    }
    (void)poll(sources.data(), sources.size(), kLookMs);
    for (std::size_t at = atWork.size(); at-- > 0;) {
      auto& [player, last] = atWork[at];
      const bool speaks = sources[at].revents != 0;
      const bool hangs = !speaks && player.IsSilentFor(std::chrono::milliseconds(patienceMs));
      if (speaks ? player.Listen(&results) : !hangs) {
        continue;
      }
      const std::size_t next = player.End(scenarios, hangs, &results);
      if (next < last) {
        waiting.emplace_back(next, last);
      }
      atWork.erase(atWork.begin() + static_cast<std::ptrdiff_t>(at));
    }
  }
  return results;
}

}  // namespace explore
