// What becomes of a run that is asked to end, by the interrupt key, a lost terminal, or a program that sends it
// SIGTERM. No signal ends it at once: it ends by itself at its next step, or where a service of the host waits, and
// leaves nothing behind. From the moment on that its plug-in begins what must not be left half-way (the flash above
// all) it goes on to its end. Asking again changes nothing.
#ifndef ORVHOST_RUN_INTERRUPTION_H
#define ORVHOST_RUN_INTERRUPTION_H

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "orvhost/interface/outcome.h"
#include "posix/file_descriptor.h"

namespace orvhost {

// Thrown where a run ends because it is asked to: what it had found out up to there.
struct EndedEarly {
  Outcome outcome;
};

class Interruption {
 public:
  Interruption() = default;
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption() { End(); }

  // From here on, up to the end of the program, the signals that would end it only ask, SIGTERM, SIGINT and alarms
  // among them; those that were ignored stay so. Before any thread is started. `tell` gets the sentence for the
  // operator when a run that goes on is asked; it may be called by another thread. What the plug-in forks gets a
  // process group of its own, and the signals as they usually are.
  void Begin(std::function<void(const std::string& sentence)> tell);

  // Nothing is said to anybody any more.
  void End();

  [[nodiscard]] bool WasAsked() const;

  // The run must end now: it was asked to, and is not held.
  [[nodiscard]] bool MustEnd() const { return !IsHeld() && WasAsked(); }

  // Readable when the run was asked to end; -1 before Begin.
  [[nodiscard]] int Descriptor() const { return signals_.Get(); }

  // From here on the run goes on to its end, because of `what`, a clause. The host's services wait again. Only the
  // first call counts, and none in a child of this process.
  void Hold(std::string_view what);

  // One more attempt to write the flash starts, which may take that many milliseconds: for the answer to who asks.
  void FlashStarts(unsigned long limit);
  [[nodiscard]] bool IsHeld() const { return !heldBy_.empty(); }

  // Takes note of what the run leaves if it ends early, a sentence.
  void Leaves(std::string_view sentence);

  // The failure of a run that ends early because it was asked to.
  [[nodiscard]] std::string Cause() const;
  [[nodiscard]] bool LeavesSomething() const { return !left_.empty(); }

  // For the end of a run that was asked to end and went on: a sentence, "" for any other.
  [[nodiscard]] std::string HowItWentOn() const;

 private:
  [[nodiscard]] std::string WhyItGoesOn() const;

  posix::FileDescriptor signals_;
  posix::FileDescriptor stop_;
  int pid_ = 0;
  std::function<void(const std::string&)> tell_;
  std::string heldBy_;
  std::vector<std::string> left_;
  std::atomic<long long> flashEnds_ = 0;  // at the latest, in milliseconds of the steady clock; 0 without a flash
  std::thread listener_;                  // of a run that is held
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_INTERRUPTION_H
