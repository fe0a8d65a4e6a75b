// Where a life is played: it numbers the events, says which fault hits which of them, and keeps the story. There is one
// for the process, because the calls that it watches are the C library's.
#ifndef EXPLORE_STAGE_H
#define EXPLORE_STAGE_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "explore/scenario.h"

namespace explore {

// Of the machine just before an event: where two are the same, so are the machines and the runs.
struct Standing {
  int run = 0;  // of the tool, in this life
  std::int64_t time = 0;
  std::uint64_t changes = 0;  // of files
  std::uint64_t syncs = 0;
};

struct Event {
  EventKind kind;
  std::string what;
  Standing before = {};
};

class Stage {
 public:
  // Empties everything; events are not counted before Count(true). With `keepsEvents` each is kept with its words.
  void Begin(const std::vector<Fault>& faults, bool keepsEvents);

  // Whether the tool is at work: only then what it calls is an event, and its paths are those of the simulated machine.
  [[nodiscard]] bool IsOn() const { return isOn_; }
  void Turn(bool on) { isOn_ = on; }

  // Whether events are counted from here on; the answer is whether they were.
  bool Count(bool counts) { return std::exchange(counts_, counts); }

  // An event comes; the fault that hits it. Of those that end the run nothing comes back.
  FaultKind Meet(EventKind kind, std::string_view what, std::string_view more = "");

  // Hears each line of a story that is kept, as it comes.
  std::function<void(const std::string&)> tell = [](const std::string&) {};

  // A line of the story between two events.
  void Say(const std::string& line);

  // How the machine stands; set by who runs the tool.
  std::function<Standing()> look = [] { return Standing(); };

  // Ends the tool at once; set by who runs it, and does not return.
  std::function<void(FaultKind)> end;

  [[nodiscard]] int Events() const { return number_; }
  [[nodiscard]] const std::vector<Event>& Kept() const { return kept_; }
  [[nodiscard]] const std::vector<Fault>& Unmet() const { return faults_; }  // those whose event has not come
  [[nodiscard]] const std::vector<std::string>& Misfits() const { return misfits_; }
  [[nodiscard]] bool DiskIsFull() const { return diskIsFull_; }
  // A fault has hit a file of the journal in this run of the tool, so that it need not be whole.
  [[nodiscard]] bool JournalIsHit() const { return journalIsHit_ || diskIsFull_; }
  void BeginRun() { journalIsHit_ = false; }
  [[nodiscard]] bool CannotDelete(std::string_view path) const { return path == stuckFile_; }
  void RepairFiles();

 private:
  FaultKind FaultOf(EventKind kind);

  bool isOn_ = false;
  bool counts_ = false;
  bool keeps_ = false;
  bool diskIsFull_ = false;
  bool journalIsHit_ = false;
  std::string stuckFile_;
  int number_ = 0;
  std::vector<Fault> faults_;
  std::vector<std::string> misfits_;
  std::vector<Event> kept_;
};

[[nodiscard]] Stage& TheStage();

// The simulation's own work while the tool waits.
class OffStage {
 public:
  OffStage() : wasOn_(TheStage().IsOn()) { TheStage().Turn(false); }
  OffStage(const OffStage&) = delete;
  OffStage& operator=(const OffStage&) = delete;
  ~OffStage() { TheStage().Turn(wasOn_); }

 private:
  bool wasOn_;
};

}  // namespace explore

#endif  // EXPLORE_STAGE_H
