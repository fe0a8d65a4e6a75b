#include "orvhost/terminal/console.h"

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

#include "orvhost/interface/printable.h"
#include "posix/last_error.h"

namespace orvhost {

Console::Console(const Options& options)
    : errors_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)),
      json_(options.json),
      quiet_(options.quiet || options.json) {}

void Console::Say(const std::string& step, const std::string& text) const {
  prepare_();
  if (!quiet_) {
    Write(Printable(step + ": " + text) + "\n");
  }
}

void Console::Notice(const std::string& sentence) const {
  prepare_();
  if (!quiet_) {
    WriteError("orvhost: " + Printable(sentence) + "\n");
  }
}

void Console::Show(const std::vector<std::string>& lines) const {
  prepare_();
  if (quiet_) {
    return;
  }
  std::string text;
  for (const std::string& line : lines) {
    text += Printable(line) + "\n";
  }
  Write(text);
}

bool Console::IsTerminal() const {
  return !quiet_ && isatty(STDOUT_FILENO) != 0;
}

bool Console::CanAsk() const {
  return IsTerminal() && isatty(STDIN_FILENO) != 0;
}

bool Console::Ask(const std::string& question) const {
  prepare_();
  Write(Printable(question) + " [y/N] ");
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

void Console::Answer(const std::string& text) const {
  Write(text);
}

ExitCode Console::Report(const Outcome& outcome) const {
  prepare_();
  if (json_) {
    Write(ToJson(outcome));
  } else if (outcome.failure) {
    WriteError(ToErrorText(outcome));
  } else if (!quiet_) {
    Write(ToText(outcome));
  }
  return Conclude(outcome);
}

ExitCode Console::Conclude(const Outcome& outcome) const {
  const bool isMissing = outputError_ != 0 && (json_ || !outcome.failure);
  if (!isMissing) {
    return outcome.exitCode;
  }
  if (outcome.failure) {
    WriteError(ToErrorText(outcome));
  }
  WriteError(ToUndeliveredText(outcome, posix::ErrorText(outputError_)));
  return outcome.failure ? outcome.exitCode : ExitCode::kNotDelivered;
}

void Console::Write(const std::string& text) const {
  if (outputError_ == 0 && !posix::WriteAll(STDOUT_FILENO, text.data(), text.size())) {
    outputError_ = errno;
  }
}

void Console::WriteError(const std::string& text) const {
  (void)posix::WriteAll(errors_.Get(), text.data(), text.size());  // there is nowhere left to say so
}

}  // namespace orvhost
