#include "orvhost/run/error_output_watch.h"

#include "host/Results.h"
#include "orvhost/interface/printable.h"

namespace orvhost {

bool ErrorOutputWatch::Allows(const refhost::CommandRequest& request) {
  if (!next_.Allows(request)) {
    return false;
  }
  if (request.line != watch_.FlashCommand() || journal_.HoldsStartOfFlash()) {
    return true;
  }
  Starts(request);
  Ended(request, {.result = host::kCommandNotRun, .exitStatus = 0, .output = "", .neverStarted = true});
  return false;
}

void ErrorOutputWatch::Starts(const refhost::CommandRequest& request) {
  Look();
  output_.KeepSmall();
  watch_.CommandStarts();
  next_.Starts(request);
}

void ErrorOutputWatch::Ended(const refhost::CommandRequest& request, const refhost::CommandResult& result) {
  if (result.neverStarted) {
    watch_.CommandNeverStarted(request.line);
  }
  next_.Ended(request, result);
  Take(Journal::Writer::kLastCommand);
}

void ErrorOutputWatch::End() {
  Look();
  output_.End();
}

void ErrorOutputWatch::Take(Journal::Writer writer) {
  const ErrorText taken = output_.Take();
  if (taken.text.empty()) {
    return;
  }
  journal_.TakeErrorText(taken, writer);
  watch_.TakeErrorText(taken);
  if (echoes_) {
    output_.Echo(EscapedLines(taken.text));
  }
}

}  // namespace orvhost
