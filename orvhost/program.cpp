#include "orvhost/program.h"

#include <fcntl.h>
#include <unistd.h>

#include <exception>

#include "host/DllCommon.h"
#include "orvhost/command_line.h"
#include "orvhost/interface/repeated_options.h"
#include "orvhost/run/error_output_watch.h"
#include "orvhost/run/exclusive_run.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/interruption_watch.h"
#include "orvhost/run/system_log.h"
#include "orvhost/terminal/live_progress.h"
#include "orvhost/trace/line_sink.h"
#include "refhost/interruption.h"
#include "refhost/settings.h"

namespace orvhost {

namespace {

// All that -v shows: the start and end lines of operations are for the log file only.
constexpr int kVerboseLevels = refhost::kAllTraceLevels & ~CTraceUtility::TRACE_DBG_FLOW;

// Where the trace of this run goes. False with the failure in `*outcome` when the log file cannot be opened.
bool AddSinks(const Run& run, ExclusiveRun* exclusive, TeeSink* tee, Outcome* outcome) {
  if (!run.options.logFile.empty()) {
    std::string error;
    auto file = LineSink::OpenFile(run.options.logFile, &error, [&run, exclusive](const std::string& reason) {
      exclusive->Notice("The log file " + run.options.logFile + " is incomplete, because it could not be written (" +
                        reason + ").");
    });
    if (!file) {
      Fail(run, outcome,
           {.exitCode = ExitCode::kUsage,
            .verdict = "log-file-unusable",
            .cause = error,
            .nextStep = "Give --log-file a path that can be written."});
      return false;
    }
    tee->Add(std::move(file));
  }
  if (run.options.verbose) {
    posix::FileDescriptor standardError(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    tee->Add(std::make_unique<LineSink>(std::move(standardError), kVerboseLevels));
  }
  return true;
}

Outcome RunToItsEnd(const Command& command, const Run& run) {
  try {
    return command.run(run);
  } catch (const EndedEarly& ended) {
    Outcome outcome = ended.outcome;
    FailInterrupted(run, &outcome);
    return outcome;
  } catch (const std::exception& error) {
    run.journal.Notice(std::string("What was thrown: ") + error.what());  // for the maker, not for the operator
    Outcome outcome;
    outcome.phase = "unexpected";
    Fail(run, &outcome,
         {.exitCode = run.watch.FlashBegan() ? ExitCode::kFailedFlashBegun : ExitCode::kUnexpected,
          .verdict = "unexpected",
          .cause = "An unexpected error, which is a fault of this program or of the plug-in, ended the run.",
          .nextStep = run.watch.FlashBegan()
                          ? "Keep the machine powered and do not reboot it; run the same command again. Report it with "
                            "the run's journal."
                          : "Run the same command again. If that ends so too, report it with the run's journal."});
    return outcome;
  }
}

Outcome RunCommand(const Command& command, const Run& run) {
  Outcome outcome = RunToItsEnd(command, run);
  // What was concluded from a service that gave up is not to be relied on.
  if (refhost::WasInterrupted() && !run.interruption.IsHeld()) {
    FailInterrupted(run, &outcome);
  }
  return outcome;
}

// True, with the answer in `*outcome`, when the subcommand has one without a run.
bool AnswersAtOnce(const ParsedCommandLine& parsed, Outcome* outcome) {
  const Command& command = *parsed.command;
  const auto answer = command.answerAtOnce != nullptr ? command.answerAtOnce(parsed.options) : std::nullopt;
  if (answer) {
    *outcome = *answer;
    outcome->command = command.name;
  }
  return answer.has_value();
}

}  // namespace

int RunProgram(int argc, const char* const* argv) {
  const ParsedCommandLine parsed = ParseCommandLine(argc, argv);
  Console console(parsed.options);
  Outcome outcome = parsed.outcome;
  if (parsed.command != nullptr) {
    refhost::Configure({parsed.options.installPath, parsed.options.serverType, "", parsed.options.allowReinstall});
  }
  if (parsed.command != nullptr && !AnswersAtOnce(parsed, &outcome)) {
    TeeSink tee;
    auto watch = std::make_unique<TraceWatch>();
    Journal journal;
    LiveProgress progress(&journal);
    ErrorOutputWatch errorOutput(watch.get(), &journal, &progress, parsed.options.verbose);
    console.BeforeText([&progress] { progress.Hide(); });
    Interruption interruption;
    if (parsed.command->LoadsPlugin()) {
      interruption.Begin([&console](const std::string& sentence) { console.Warn(sentence); });
      console.GiveUpAt(interruption.Descriptor());
    }
    const Run run{parsed.options, console, *watch, tee, journal, interruption, progress};
    tee.Add(std::make_unique<ErrorOutputSink>(&errorOutput));
    tee.Add(std::move(watch));
    tee.Add(std::make_unique<InterruptionWatch>(&interruption));
    tee.Add(std::make_unique<ProgressSink>(&progress));
    ExclusiveRun exclusive(run, parsed.command->name);
    if ((!parsed.command->LoadsPlugin() || exclusive.Begin(&outcome)) && AddSinks(run, &exclusive, &tee, &outcome)) {
      refhost::SetTraceSink(&tee);
      refhost::SetCommandObserver(&errorOutput);
      if (parsed.command->LoadsPlugin()) {
        progress.Begin(parsed.options, parsed.command->phases,
                       [&console](const std::string& line) { console.Notice(line); });
        errorOutput.Begin();
      }
      outcome = RunCommand(*parsed.command, run);
      errorOutput.End();
      refhost::SetCommandObserver(nullptr);
      refhost::SetTraceSink(nullptr);
      progress.End();
    }
    interruption.End();
    outcome.commandLine = parsed.options.commandLine;
    RepeatOptions(parsed.options.repeated, &outcome);
    exclusive.End(&outcome);
    if (parsed.command->LoadsPlugin()) {
      SayToSystemLog(outcome, parsed.options.installPath);
    }
    console.BeforeText([] {});
  }
  console.Answer(parsed.answer);
  const bool isRun = parsed.command != nullptr || outcome.failure;
  return static_cast<int>(isRun ? console.Report(outcome) : console.Conclude(outcome));
}

}  // namespace orvhost
