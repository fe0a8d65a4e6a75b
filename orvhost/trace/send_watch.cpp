#include "orvhost/trace/send_watch.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace orvhost {

namespace {

using State = SendResult::State;

// How a line that tells of a failed attempt begins, and the step that it stands for.
struct StepLine {
  const char* start;
  const char* step;
};

constexpr StepLine kStepLines[] = {
    {"Failed to execute IPMI command(OEM Lock Server Config File)", "locking the file"},
    {"Failed to execute IPMI command(OEM Write Server Config File)", "writing the file"},
    {"Failed to execute IPMI command(OEM Write Server Config File [Signature])", "writing the file's signature"},
    {"Failed to execute IPMI command(OEM UnLock Server Config File)", "unlocking the file"},
    {"Failed to execute IPMI command(OEM Notify ORV Event)", "announcing the file"},
    {"Feiled to get hostname", "reading the host name"},
    {"Failed to createCBMC_MngLib.", "loading the management library"},
    {"GetHddInfoToSVP Error!", "asking the management library"},
    {"Invalid send data [", "checking what the management library gave"},
};

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// True for "17:0F", with which the elements of the BMC's answer are traced.
bool IsElement(const std::string& text) {
  const std::size_t colon = text.find(':');
  return colon != 0 && colon != std::string::npos &&
         std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon),
                     [](unsigned char character) { return isdigit(character) != 0; });
}

}  // namespace

void SendWatch::Write(const refhost::TraceRecord& record) {
  const std::string text(record.text);
  if (record.level != 0) {
    WatchStart(text);
  }
  if (current_ == nullptr) {
    return;
  }
  if (record.level == 0) {
    // The record is written at once when a step has failed for good; an unlock that follows changes nothing.
    Conclude(State::kFailed, step_.empty() ? "a step that is not told" : step_);
    return;
  }
  WatchCapability(text);
  WatchStep(text);
  WatchEnd(text);
}

void SendWatch::WatchStart(const std::string& text) {
  if (text == "CBMC_KESTREL_Firmware::ExecSendOSInfo [START]") {
    current_ = &results_[0];
  } else if (text == "CBMC_KESTREL_Firmware::ExecSendHddInfo [START]") {
    current_ = &results_[1];
  } else {
    return;
  }
  capability_.clear();
  step_.clear();
}

void SendWatch::WatchCapability(const std::string& text) {
  constexpr const char* kFlags = " SendInfoToSVP Support info";
  if (text == "Get Capability Failed") {
    capability_ = "it did not answer the question for its capabilities";
  } else if (const std::size_t flags = text.find(kFlags); flags != std::string::npos && IsElement(text)) {
    capability_ = "its capabilities are " + text.substr(text.find(':') + 1, flags - text.find(':') - 1);
  } else if (IsElement(text) && !StartsWith(capability_, "its capabilities are")) {
    capability_ = "its answer is too short to tell its capabilities";
  }
}

void SendWatch::WatchStep(const std::string& text) {
  // A longer start wins: that of the signature continues that of the data.
  std::size_t longest = 0;
  for (const auto& [start, step] : kStepLines) {
    const std::string whole(start);
    if (whole.size() <= longest || !StartsWith(text, whole)) {
      continue;
    }
    longest = whole.size();
    step_ = step;
  }
}

void SendWatch::WatchEnd(const std::string& text) {
  if (text == "Send OS Information not supported" || text == "Send HDD Information not supported") {
    Conclude(State::kNotSupported, capability_);
  } else if (text == "CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]" ||
             text == "CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]") {
    Conclude(State::kSent, "");
  }
}

// The end line of what was sent stands behind a refusal too, and it may stand before the record that tells of a
// failure.
void SendWatch::Conclude(State state, const std::string& detail) {
  if (current_->state != State::kUntold && state != State::kFailed) {
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
      return "unknown (the plug-in does not tell)";
  }
}

}  // namespace orvhost
