#include "explore/replay.h"

#include <poll.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <vector>

#include "explore/known_findings.h"
#include "explore/player.h"

namespace explore {

namespace {

// How a player's words begin that are not the scenario that it plays next; no road's name does.
constexpr char kAnswer = '=';
constexpr char kPrinted = '|';

// Plays, and says before what.
using Playing = std::function<Played(const Scenario&, bool keepsEvents)>;

// Prints a line.
using Telling = std::function<void(const std::string&)>;

// The answer of `work`, which is done in a player and begins with that scenario. Its lines are printed as they come, by
// this process: who reads them may take a while, which is no hanging.
int Watch(const Scenario& first, const Showing& showing,
          const std::function<int(const Playing&, const Telling&)>& work) {
  Player player([&](const Player::Say& say) {
    Disk disk;
    const int answer = work(
        [&](const Scenario& scenario, bool keepsEvents) {
          say(Text(scenario));
          return showing.play(scenario, disk, keepsEvents);
        },
        [&say](const std::string& line) { say(kPrinted + line); });
    say(kAnswer + std::to_string(answer));
  });
  std::string playing = Text(first);
  std::optional<int> answer;
  Player::State state = Player::State::kPlays;
  while (state == Player::State::kPlays) {
    pollfd source{player.Pipe(), POLLIN, 0};
    (void)poll(&source, 1, UntilNextLookMs());
    state = player.Look(source.revents != 0, [&](const std::string& line) {
      if (line.front() == kPrinted) {
        showing.print(line.substr(1) + "\n");
        return false;
      }
      if (line.front() == kAnswer) {
        answer = std::stoi(line.substr(1));
      } else {
        playing = line;
      }
      return true;
    });
  }
  if (state == Player::State::kDone && answer) {
    return *answer;
  }
  showing.print("finding: " + FindingOf(state, playing) + "\n");
  return kExitFindings;
}

// Why the scenario cannot be played as it stands: an event that comes neither on the road without faults nor behind the
// faults before it. "" when it can.
std::string Complaint(const Scenario& scenario, const Playing& play) {
  if (scenario.faults.empty()) {
    return "";
  }
  const Played road = play({scenario.road, {}}, true);
  Scenario upTo{scenario.road, {}};
  for (const Fault& fault : scenario.faults) {
    upTo.faults.push_back(fault);
    const bool comes = fault.event <= road.events &&
                       CanHit(RowOf(fault.kind), road.kept[static_cast<std::size_t>(fault.event) - 1].kind);
    if (const auto complaints = comes ? std::vector<std::string>() : play(upTo, false).complaints;
        !complaints.empty()) {
      return complaints.back();
    }
  }
  return "";
}

std::string End(const Played& played) {
  return played.verdict + ", " +
         (played.exitCode < 0 ? "no exit code" : "exit code " + std::to_string(played.exitCode)) + ", flash " +
         (played.flashTouched ? "touched" : "untouched");
}

// What a finding is, without what is different in each scenario.
std::string KindOf(const std::string& finding) {
  const std::size_t oracle = finding.find(':');
  std::string kind = finding.substr(0, finding.find(':', oracle + 1));
  std::erase_if(kind, [](unsigned char c) { return c >= '0' && c <= '9'; });
  return kind;
}

class Minimizer {
 public:
  Minimizer(const Playing& play, const Played& whole)
      : play_(play), whole_(whole), wanted_(KindOf(whole.findings.front())) {}

  Scenario Shorten(Scenario scenario) {
    for (std::size_t at = 0; at < scenario.faults.size() && scenario.faults.size() > 1;) {
      if (const auto shorter = Without(scenario, at)) {
        scenario = *shorter;
      } else {
        ++at;
      }
    }
    return scenario;
  }

 private:
  bool Fails(const Scenario& scenario) {
    const auto findings = play_(scenario, false).findings;
    return std::ranges::any_of(findings, [this](const std::string& finding) { return KindOf(finding) == wanted_; });
  }

  std::optional<Scenario> Without(const Scenario& scenario, std::size_t at) {
    Scenario shorter = scenario;
    shorter.faults.erase(shorter.faults.begin() + static_cast<std::ptrdiff_t>(at));
    if (Fails(shorter)) {
      return shorter;
    }
    // The fault that is left out may have moved the events behind it.
    if (at != 0 || shorter.faults.size() != 1) {
      return {};
    }
    for (const int event : EventsAlike(shorter)) {
      shorter.faults.front().event = event;
      if (Fails(shorter)) {
        return shorter;
      }
    }
    return {};
  }

  // The events of the road that do the same as what the last fault hit, the nearest first.
  std::vector<int> EventsAlike(const Scenario& scenario) {
    constexpr std::size_t kMost = 30;
    const int number = scenario.faults.front().event;
    std::vector<int> alike;
    if (number > static_cast<int>(whole_.kept.size())) {
      return alike;
    }
    const Event& hit = whole_.kept[static_cast<std::size_t>(number) - 1];
    const Played road = play_({scenario.road, {}}, true);
    for (int event = 1; event <= road.events; ++event) {
      const Event& one = road.kept[static_cast<std::size_t>(event) - 1];
      if (one.kind == hit.kind && one.what == hit.what) {
        alike.push_back(event);
      }
    }
    std::ranges::stable_sort(alike, {}, [number](int event) { return std::abs(event - number); });
    alike.resize(std::min(alike.size(), kMost));
    return alike;
  }

  const Playing& play_;
  const Played& whole_;
  const std::string wanted_;
};

int Tell(const Scenario& scenario, const Playing& play, const Telling& tell) {
  TheStage().tell = tell;
  const Played played = play(scenario, true);
  for (const std::string& complaint : played.complaints) {
    tell("With the faults before it: " + complaint);
  }
  tell("The faults end in: " + End(played) +
       ". What the operator does then: " + (played.way.empty() ? "nothing" : played.way) + ".");
  bool isNew = false;
  for (const std::string& finding : played.findings) {
    const std::string why = WhyKnown(scenario, finding);
    tell("finding: " + finding);
    if (why.empty()) {
      isNew = true;
    } else {
      tell("  known, and stays: " + why);
    }
  }
  return isNew ? kExitFindings : 0;
}

int Shorten(const Scenario& scenario, const Playing& play, const Telling& tell) {
  const Played whole = play(scenario, true);
  if (whole.findings.empty()) {
    tell("There is no finding in " + Text(scenario) + ".");
    return kExitUsage;
  }
  tell(Text(Minimizer(play, whole).Shorten(scenario)));
  return 0;
}

// What `does` answers for the scenario with that text. For a text that is none, and for what cannot be played, the
// sentence is printed.
int WithScenario(const std::string& text, const Showing& showing,
                 int (*does)(const Scenario&, const Playing&, const Telling&)) {
  std::string error;
  const auto scenario = ParseScenario(text, &error);
  if (!scenario) {
    showing.print(error + "\n");
    return kExitUsage;
  }
  return Watch(*scenario, showing, [&](const Playing& play, const Telling& tell) {
    const std::string complaint = Complaint(*scenario, play);
    if (complaint.empty()) {
      return does(*scenario, play, tell);
    }
    tell(complaint);
    return kExitUsage;
  });
}

}  // namespace

int Replay(const std::string& text, const Showing& showing) {
  return WithScenario(text, showing, Tell);
}

int Minimize(const std::string& text, const Showing& showing) {
  return WithScenario(text, showing, Shorten);
}

}  // namespace explore
