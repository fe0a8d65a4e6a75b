#include "explore/crowd.h"

#include <poll.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "explore/player.h"

namespace explore {

namespace {

constexpr std::size_t kSlice = 125;
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
  return line;
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

// A player with its slice, and how far it is.
class Turn {
 public:
  Turn(const std::vector<Scenario>& scenarios, std::size_t first, std::size_t last, const HowToPlay& play)
      : next_(first), last_(last), player_([&, first, last](const Player::Say& say) {
          Disk disk;
          for (std::size_t at = first; at < last; ++at) {
            say(Line(at, play(scenarios[at], disk, false)));
          }
        }) {}

  // False at its end. What it was at when it ended too early is a finding, and the next one goes on after that.
  bool GoesOn(bool speaks, const std::vector<Scenario>& scenarios, std::vector<Result>* results) {
    const Player::State state = player_.Look(speaks, [&](const std::string& line) {
      Take(line, results);
      ++next_;
      return true;
    });
    if (state == Player::State::kPlays) {
      return true;
    }
    if (state != Player::State::kDone || next_ != last_) {
      const std::size_t at = std::min(next_, last_ - 1);
      Result& result = results->at(at);
      result.verdict = state == Player::State::kHangs ? "hangs" : "crashed";
      result.findings.push_back(FindingOf(state, Text(scenarios[at])));
      ++next_;
    }
    return false;
  }

  [[nodiscard]] int Pipe() const { return player_.Pipe(); }
  [[nodiscard]] std::size_t Next() const { return next_; }
  [[nodiscard]] std::size_t Last() const { return last_; }

 private:
  std::size_t next_;
  std::size_t last_;
  Player player_;
};

// The slices that are still to be played, as first and last number.
using Slices = std::vector<std::pair<std::size_t, std::size_t>>;

}  // namespace

std::vector<Result> PlayAll(const std::vector<Scenario>& scenarios, int processes, const HowToPlay& play) {
  std::vector<Result> results(scenarios.size());
  Slices waiting;
  for (std::size_t first = 0; first < scenarios.size(); first += kSlice) {
    waiting.emplace_back(first, std::min(first + kSlice, scenarios.size()));
  }
  std::ranges::reverse(waiting);
  std::vector<Turn> atWork;
  while (!waiting.empty() || !atWork.empty()) {
    while (!waiting.empty() && atWork.size() < static_cast<std::size_t>(processes)) {
      const auto [first, last] = waiting.back();
      waiting.pop_back();
      atWork.emplace_back(scenarios, first, last, play);
    }
    std::vector<pollfd> sources;
    sources.reserve(atWork.size());
    for (const Turn& turn : atWork) {
      sources.push_back({turn.Pipe(), POLLIN, 0});
    }
    (void)poll(sources.data(), sources.size(), UntilNextLookMs());
    for (std::size_t at = atWork.size(); at-- > 0;) {
      Turn& turn = atWork[at];
      if (turn.GoesOn(sources[at].revents != 0, scenarios, &results)) {
        continue;
      }
      if (turn.Next() < turn.Last()) {
        waiting.emplace_back(turn.Next(), turn.Last());
      }
      atWork.erase(atWork.begin() + static_cast<std::ptrdiff_t>(at));
    }
  }
  return results;
}

}  // namespace explore
