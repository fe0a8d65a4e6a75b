#include "orvhost/trace/send_watch.h"

#include <algorithm>
#include <cctype>

#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

namespace lines = plugin_lines::lines;
using State = SendResult::State;

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
  step_.clear();
}

void SendWatch::WatchCapability(std::string_view text) {
  constexpr std::string_view kKnown = "its capabilities are ";
  if (text == lines::kNoCapability) {
    capability_ = "it did not answer when asked for its capabilities";
  } else if (!IsElement(text)) {
    return;
  } else if (const std::size_t flags = text.find(plugin_lines::parts::kCapability); flags != std::string_view::npos) {
    const std::size_t element = text.find(':') + 1;
    capability_ = std::string(kKnown).append(text.substr(element, flags - element));
  } else if (!capability_.starts_with(kKnown)) {
    capability_ = "its answer is too short to state its capabilities";
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
    Conclude(State::kNotSupported, capability_);
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
