#include "orvhost/trace/send_watch.h"

#include <algorithm>
#include <cctype>

#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

namespace lines = plugin_lines::lines;
using State = SendResult::State;

constexpr const char* kAskingForCapability = "asking the BMC for its capabilities";
constexpr std::string_view kUnknownCommand = "it does not know the command that asks for its capabilities";

// As ipmitool shows the completion code C1, "invalid command" (IPMI v2.0, table 5-2).
constexpr std::string_view kInvalidCommand = "rsp=0xc1";

bool SaysInvalidCommand(const TraceWatch& watch) {
  return std::ranges::any_of(watch.Gathered().errorOutput,
                             [](const std::string& line) { return line.find(kInvalidCommand) != std::string::npos; });
}

// True for "17:0F", with which the elements of the BMC's answer are traced.
bool IsElement(std::string_view text) {
  const std::size_t colon = text.find(':');
  return colon != 0 && colon != std::string_view::npos &&
         std::ranges::all_of(text.substr(0, colon), [](unsigned char c) { return std::isdigit(c) != 0; });
}

}  // namespace

void SendWatch::Write(const refhost::TraceRecord& record) {
  if (record.level != 0) {
    WatchStart(record.text);
  }
  if (current_ == nullptr) {
    return;
  }
  if (record.level == 0) {
    // The record is written at once when a step has failed for good; an unlock that follows changes nothing.
    Conclude(State::kFailed, step_.empty() ? "an unknown step" : step_);
    return;
  }
  current_->lacksName |= record.text == std::string(lines::kOsName) + "]";
  WatchCapability(record.text);
  WatchStep(record.text);
  WatchEnd(record.text);
}

void SendWatch::WatchStart(std::string_view text) {
  if (text == lines::kSendingOsStarts) {
    current_ = &results_[0];
  } else if (text == lines::kSendingDisksStarts) {
    current_ = &results_[1];
  } else {
    return;
  }
  capability_.clear();
  hasCapability_ = true;
  step_.clear();
}

void SendWatch::WatchCapability(std::string_view text) {
  if (text == lines::kNoCapability) {
    hasCapability_ = SaysInvalidCommand(watch_);
    capability_ = kUnknownCommand;
  } else if (IsElement(text)) {
    WatchCapabilityElement(text);
  }
}

// The first element is the completion code. Without a byte behind it nothing was answered: ipmitool shows no code, so
// that the plug-in takes a lost output for an answer without data.
void SendWatch::WatchCapabilityElement(std::string_view text) {
  constexpr std::string_view kKnown = "its capabilities are ";
  const std::string_view element = text.substr(text.find(':') + 1);
  if (text.starts_with("0:")) {
    hasCapability_ = element == "C1" || element == "c1";
    capability_ = kUnknownCommand;
    isAccepted_ = element == "00";
    return;
  }
  if (!isAccepted_) {
    return;
  }
  if (!hasCapability_) {
    hasCapability_ = true;
    capability_ = "its answer is too short to state its capabilities";
  }
  if (const std::size_t flags = element.find(plugin_lines::parts::kCapability); flags != std::string_view::npos) {
    capability_ = std::string(kKnown).append(element.substr(0, flags));
  }
}

void SendWatch::WatchStep(std::string_view text) {
  std::size_t longest = 0;
  for (const auto& [start, step] : lines::kSendFailures) {
    if (start.size() > longest && text.starts_with(start)) {
      longest = start.size();
      step_ = step;
    }
  }
}

void SendWatch::WatchEnd(std::string_view text) {
  if (text == lines::kOsNotSupported || text == lines::kDisksNotSupported) {
    if (hasCapability_) {
      Conclude(State::kNotSupported, capability_);
    } else {
      Conclude(State::kFailed, kAskingForCapability);
    }
  } else if (text == lines::kSendingOsEnds || text == lines::kSendingDisksEnds) {
    Conclude(State::kSent, "");
  }
}

// The end line of what was sent stands behind a refusal too, and it may stand before the record that tells of a
// failure.
void SendWatch::Conclude(State state, const std::string& detail) {
  if (current_->state != State::kUnknown && state != State::kFailed) {
    return;
  }
  current_->state = state;
  current_->detail = detail;
}

std::string InWords(const SendResult& result) {
  switch (result.state) {
    case State::kSent:
      return "sent";
    case State::kNotSupported:
      return "not supported by this BMC" + (result.detail.empty() ? "" : " (" + result.detail + ")");
    case State::kFailed:
      return "failed at " + result.detail;
    default:
      return "unknown (the plug-in does not say)";
  }
}

}  // namespace orvhost
