// One run of a subcommand: what it was asked for and what it has at hand. Every subcommand gets one and answers an
// Outcome.
#ifndef ORVHOST_RUN_RUN_H
#define ORVHOST_RUN_RUN_H

#include <memory>
#include <string>

#include "orvhost/interface/options.h"
#include "orvhost/interface/outcome.h"
#include "orvhost/journal/journal.h"
#include "orvhost/plugin/session.h"
#include "orvhost/run/interruption.h"
#include "orvhost/terminal/console.h"
#include "orvhost/terminal/live_progress.h"
#include "orvhost/trace/line_sink.h"
#include "orvhost/trace/trace_watch.h"
#include "refhost/module_state.h"

namespace orvhost {

struct Run {
  const Options& options;
  const Console& console;
  const TraceWatch& watch;
  TeeSink& trace;  // for a subcommand that reads more of the plug-in's trace than the watch keeps
  Journal& journal;
  Interruption& interruption;
  LiveProgress& progress;
};

// Throws EndedEarly when the run must end because it is asked to.
void EndIfAsked(const Run& run, const Outcome& outcome);

// The run goes on with the step of that name, which is then the one that it ends in unless another one follows. One
// that is asked to end does so instead.
void EnterPhase(const Run& run, Outcome* outcome, const std::string& phase);

// Adds the sentence to the notices and to the journal of the run, and says it; nothing for "".
void Note(const Run& run, Outcome* outcome, const std::string& sentence);

// What becomes of kept records that cannot be understood, which is a failure either way.
enum class DamagedRecords { kKeepAside, kLeave };

// Checks the kept records, which are then in `*records`, and opens the plug-in; null with the failure in `*outcome`.
[[nodiscard]] std::unique_ptr<Session> OpenSession(const Run& run, DamagedRecords damaged, Outcome* outcome,
                                                   refhost::ModuleState* records = nullptr);

// False, with the failure in `*outcome`, when something that the plug-in needs is missing on this machine.
[[nodiscard]] bool HasPrerequisites(const Run& run, const Session& session, Outcome* outcome);

// Reads the running version into `outcome->before`. False with the failure in `*outcome` when the BMC does not tell it.
[[nodiscard]] bool ReadRunningVersion(const Run& run, const Session& session, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_RUN_RUN_H
