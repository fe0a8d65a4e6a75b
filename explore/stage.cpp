#include "explore/stage.h"

#include <algorithm>

namespace explore {

namespace {

// The beginning of what is written, as one line.
std::string Shown(std::string_view more) {
  constexpr std::size_t kLongest = 100;
  std::string text = more.empty() ? "" : " " + std::string(more.substr(0, kLongest));
  std::ranges::replace_if(
      text, [](unsigned char c) { return c < ' ' || c > '~'; }, '.');
  return text;
}

}  // namespace

Stage& TheStage() {
  static Stage stage;
  return stage;
}

void Stage::Begin(const std::vector<Fault>& faults, bool keepsEvents) {
  isOn_ = false;
  counts_ = false;
  keeps_ = keepsEvents;
  RepairFiles();
  number_ = 0;
  faults_ = faults;
  misfits_.clear();
  kept_.clear();
}

FaultKind Stage::FaultOf(EventKind kind) {
  if (faults_.empty() || faults_.front().event != number_) {
    return FaultKind::kNone;
  }
  const FaultKind fault = faults_.front().kind;
  faults_.erase(faults_.begin());
  if (CanHit(RowOf(fault), kind)) {
    return fault;
  }
  misfits_.push_back("Event " + std::to_string(number_) + " is a " + std::string(NameOf(kind)) + ", which \"" +
                     std::string(RowOf(fault).name) + "\" cannot hit.");
  return FaultKind::kNone;
}

FaultKind Stage::Meet(EventKind kind, std::string_view what, std::string_view more) {
  if (!isOn_ || !counts_) {
    return FaultKind::kNone;
  }
  const OffStage aside;
  ++number_;
  const FaultKind fault = FaultOf(kind);
  if (keeps_) {
    kept_.push_back({kind, std::string(what), look()});
    tell("  " + std::to_string(number_) + " " + std::string(NameOf(kind)) + " " + std::string(what) + Shown(more) +
         (fault == FaultKind::kNone ? "" : "   <-- " + std::string(RowOf(fault).words)));
  }
  journalIsHit_ |= fault != FaultKind::kNone && what.find("/journal") != std::string_view::npos;
  diskIsFull_ |= fault == FaultKind::kDiskFullForGood;
  stuckFile_ = fault == FaultKind::kDeleteFailsForGood ? what : stuckFile_;
  if (fault != FaultKind::kNone && RowOf(fault).endsRun && fault != FaultKind::kKillDuring &&
      fault != FaultKind::kPowerDuring) {
    end(fault);
  }
  return fault;
}

void Stage::RepairFiles() {
  diskIsFull_ = false;
  stuckFile_.clear();
}

void Stage::Say(const std::string& line) {
  if (keeps_) {
    tell(line);
  }
}

}  // namespace explore
