// A process of its own that plays, and says line by line how far it is. When the simulation itself hangs or crashes, it
// is this process that is lost, and who listens knows what it was at. It ends with the program, however that ends.
#ifndef EXPLORE_PLAYER_H
#define EXPLORE_PLAYER_H

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>

namespace explore {

inline constexpr int kUsualPatienceMs = 20000;

// How long a player may take to come further before it counts as one that hangs; for all that are looked after from
// here on.
void SetPatience(std::chrono::milliseconds patience);

// How long to wait for words of players before each is looked at again.
[[nodiscard]] int UntilNextLookMs();

class Player {
 public:
  using Say = std::function<void(const std::string& line)>;
  // True for a line that shows that it has come further: only then has it as much time as at first again.
  using Hear = std::function<bool(const std::string& line)>;
  enum class State { kPlays, kDone, kHangs, kCrashed };

  // Starts it. `work` has a copy of all that this process has.
  explicit Player(const std::function<void(const Say&)>& work);

  // Takes the lines that it has said, when it `speaks` by its pipe. Once the answer is another than kPlays, the process
  // is gone; one that hangs is ended.
  [[nodiscard]] State Look(bool speaks, const Hear& hear);

  [[nodiscard]] int Pipe() const { return pipe_; }

 private:
  using Clock = std::chrono::steady_clock;

  void HearLines(const Hear& hear);
  int WaitForEnd();

  Clock::time_point lookedAt_ = Clock::now();
  Clock::duration taken_{};  // since it came further
  pid_t child_ = -1;
  int pipe_ = -1;
  std::string said_;
};

// The finding about the scenario with that text, at which a player was when it hung or crashed.
[[nodiscard]] std::string FindingOf(Player::State end, const std::string& text);

}  // namespace explore

#endif  // EXPLORE_PLAYER_H
