// The flight journal of one run: a file of JSON lines, one for each thing that happened, each written with one
// write(2). What is needed to tell later what a run did to the device is on the disk before the run goes on: the begin,
// every phase, every command line before it runs, the line that says that the flash is written or the machine goes
// down, every record for operators, and the end.
//
// A journal that cannot be written says so once, and stops a run in one place only: the flash tool is not started when
// the line that says so is not on the disk.
#ifndef ORVHOST_JOURNAL_JOURNAL_H
#define ORVHOST_JOURNAL_JOURNAL_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "orvhost/interface/options.h"
#include "orvhost/interface/outcome.h"
#include "orvhost/trace/error_text.h"
#include "orvhost/trace/trace_watch.h"
#include "posix/file_descriptor.h"
#include "refhost/command_observer.h"
#include "refhost/trace_sink.h"

namespace orvhost {

// A response of more bytes is cut.
inline constexpr std::size_t kLongestResponse = 4096;

// What the journal keeps of the package that a run is about.
struct TakenPackage {
  std::string path;  // that it had when it was read
  std::string sha256;
  std::uintmax_t size;
  std::string signature;   // what came of it, a word
  std::string signedBy;    // "" where that is not known, as in the next
  std::string signingKey;  // a fingerprint
};

class Journal : public refhost::CommandObserver {
 public:
  // Until it is begun nothing is kept.
  Journal() = default;

  // `tell` gets the reason, without a full stop, when a line cannot be written for the first time.
  void OnFailure(std::function<void(const std::string& reason)> tell) { tell_ = std::move(tell); }

  // Makes the file and its first line. False, with the reason in `*error`, when that fails; nothing is kept then.
  [[nodiscard]] bool Begin(const std::string& runId, const std::string& command, const Options& options,
                           std::string* error);

  void Phase(const std::string& name);
  void Notice(const std::string& sentence);

  // The package that the run is about.
  void Package(const TakenPackage& package);

  // `watch` has seen the record already: what it recognises is brought to the disk.
  void Trace(const refhost::TraceRecord& record, const TraceWatch& watch);

  // False when the last start of writing the flash could not be kept.
  [[nodiscard]] bool HoldsStartOfFlash() const { return !lostStartOfFlash_; }

  // What programs wrote to the standard error: the command that ended last, or one that the host does not run.
  enum class Writer { kLastCommand, kOther };
  void TakeErrorText(const ErrorText& text, Writer writer);

  void Starts(const refhost::CommandRequest& request) override;
  void Ended(const refhost::CommandRequest& request, const refhost::CommandResult& result) override;

  // The last line. Nothing is kept behind it.
  void End(const Outcome& outcome);

 private:
  enum class Durable { kNo, kYes };

  [[nodiscard]] bool Create(const std::string& folder, const std::string& path);
  bool Append(const char* kind, const nlohmann::ordered_json& fields, Durable durable);
  void KeepResponse(int number, const std::string& path);

  posix::FileDescriptor file_;
  int pid_ = 0;
  std::chrono::steady_clock::time_point start_;
  std::atomic<int> commands_{0};
  std::atomic<bool> lineIsTorn_{false};
  std::atomic<bool> hasFailed_{false};
  bool flashBegan_ = false;
  bool goingDown_ = false;
  bool lostStartOfFlash_ = false;
  std::function<void(const std::string&)> tell_;
};

// Hands the trace on to a journal.
class JournalSink : public refhost::TraceSink {
 public:
  // Both must outlive this, and `watch` must get each record before this does.
  JournalSink(Journal* journal, const TraceWatch* watch) : journal_(journal), watch_(watch) {}
  void Write(const refhost::TraceRecord& record) override { journal_->Trace(record, *watch_); }

 private:
  Journal* journal_;
  const TraceWatch* watch_;
};

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_JOURNAL_H
