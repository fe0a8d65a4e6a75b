// Reads the plug-in's trace while it sends its records to the service processor and keeps what became of each. Like
// TraceWatch it guesses nothing: each answer rests on lines that the plug-in wrote. The plug-in takes a BMC that it
// gets no answer from for one that supports no record; only a BMC that answered, or that does not know the command,
// counts as that here.
#ifndef ORVHOST_TRACE_SEND_WATCH_H
#define ORVHOST_TRACE_SEND_WATCH_H

#include <array>
#include <string>
#include <string_view>

#include "orvhost/trace/trace_watch.h"
#include "refhost/trace_sink.h"

namespace orvhost {

// What became of one record.
struct SendResult {
  enum class State { kUnknown, kSent, kNotSupported, kFailed };

  const char* name;  // what the record tells of, for people
  State state = State::kUnknown;
  std::string detail{};    // not supported: how that is known; failed: at which step; otherwise ""
  bool lacksName = false;  // sent without the name that it is to have, which the plug-in could not read
};

class SendWatch : public refhost::TraceSink {
 public:
  // `watch` gets every line before this does, and outlives it: what programs wrote to the standard error is known
  // there.
  explicit SendWatch(const TraceWatch& watch) : watch_(watch) {}

  void Write(const refhost::TraceRecord& record) override;

  // In the order of sending.
  [[nodiscard]] const std::array<SendResult, 2>& Results() const { return results_; }

 private:
  void WatchStart(std::string_view text);
  void WatchCapability(std::string_view text);
  void WatchStep(std::string_view text);
  void WatchEnd(std::string_view text);
  void WatchCapabilityElement(std::string_view text);
  void Conclude(SendResult::State state, const std::string& detail);

  const TraceWatch& watch_;
  std::array<SendResult, 2> results_{{{"Operating system"}, {"Disks"}}};
  SendResult* current_ = nullptr;  // the record whose sender is at work
  std::string capability_;         // what is known of the BMC's capabilities, in words
  bool isAccepted_ = true;         // the completion code of the answer is that of success
  bool hasCapability_ = true;      // false: it was asked for them and gave no answer, or refused one
  std::string step_;               // the step that the last line about a failed attempt names, in words
};

// The result in words: "sent", "not supported by this BMC (...)", "failed at ...", "unknown (...)".
[[nodiscard]] std::string InWords(const SendResult& result);

}  // namespace orvhost

#endif  // ORVHOST_TRACE_SEND_WATCH_H
