#include "orvhost/terminal/console.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "orvhost/interface/printable.h"
#include "orvhost/interface/wrapped.h"
#include "orvhost/terminal/terminal.h"
#include "posix/last_error.h"
#include "refhost/settings.h"

namespace orvhost {

namespace {

// How long somebody may take to read on, once the program is asked to end.
int Grace() {
  return static_cast<int>(refhost::ScaledMilliseconds(5000));
}

// Waits for something to read; false when `giveUp` is readable before.
bool CanRead(int descriptor, int giveUp) {
  std::array<pollfd, 2> sources{pollfd{descriptor, POLLIN, 0}, pollfd{giveUp, POLLIN, 0}};
  while (poll(sources.data(), sources.size(), -1) < 0 && errno == EINTR) {
  }
  return sources[1].revents == 0;
}

// Waits until a piece of PIPE_BUF bytes can be written at once; false when that takes too long behind `giveUp`.
bool CanWrite(int descriptor, int giveUp) {
  std::array<pollfd, 2> sources{pollfd{descriptor, POLLOUT, 0}, pollfd{giveUp, POLLIN, 0}};
  while (poll(sources.data(), sources.size(), -1) < 0 && errno == EINTR) {
  }
  return sources[0].revents != 0 || poll(sources.data(), 1, Grace()) != 0;
}

// False, with errno set, when the text cannot be written as a whole.
bool WriteWhileRead(int descriptor, std::string_view text, int giveUp) {
  for (; !text.empty(); text.remove_prefix(std::min<std::size_t>(text.size(), PIPE_BUF))) {
    if (!CanWrite(descriptor, giveUp)) {
      errno = ETIMEDOUT;
      return false;
    }
    if (!posix::WriteAll(descriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF))) {
      return false;
    }
  }
  return true;
}

constexpr const char* kRed = "\033[31m";
constexpr const char* kGreen = "\033[32m";
constexpr const char* kPlain = "\033[0m";

// NO_COLOR is what people set for all their programs (no-color.org).
bool MayColour(const Options& options) {
  const char* unwanted = getenv("NO_COLOR");
  return options.color == "auto" && (unwanted == nullptr || *unwanted == '\0');
}

// Colours the word at the beginning of the text, in letters of either case, or behind "verdict:".
std::string Emphasized(std::string text, const Emphasis& emphasis) {
  constexpr std::string_view kLabel = "\n  verdict:";
  const std::size_t label = text.find(kLabel);
  const std::size_t at = label == std::string::npos ? 0 : text.find_first_not_of(" \n", label + kLabel.size());
  const bool isThere = at <= text.size() && !emphasis.word.empty() &&
                       std::ranges::equal(text.substr(at, emphasis.word.size()), emphasis.word,
                                          [](unsigned char first, unsigned char second) {
                                            return std::tolower(first) == std::tolower(second);
                                          });
  if (isThere) {
    text.insert(at + emphasis.word.size(), kPlain);
    text.insert(at, emphasis.colour);
  }
  return text;
}

}  // namespace

Console::Console(const Options& options)
    : errors_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)),
      json_(options.json),
      quiet_(options.quiet || options.json),
      colour_(MayColour(options)) {}

void Console::Say(const std::string& step, const std::string& text) const {
  prepare_();
  if (!quiet_) {
    Print(Printable(step + ": " + text) + "\n");
  }
}

void Console::Notice(const std::string& sentence) const {
  prepare_();
  if (!quiet_) {
    PrintError("orvhost: " + Printable(sentence) + "\n");
  }
}

void Console::Warn(const std::string& sentence) const {
  prepare_();
  PrintError("orvhost: " + Printable(sentence) + "\n");
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
  Print(text);
}

bool Console::IsTerminal() const {
  return !quiet_ && isatty(STDOUT_FILENO) != 0;
}

std::size_t Console::Columns() const {
  return isatty(STDOUT_FILENO) != 0 ? WidthOf(STDOUT_FILENO) : std::string::npos;
}

bool Console::CanAsk() const {
  return IsTerminal() && isatty(STDIN_FILENO) != 0;
}

bool Console::Ask(const std::string& question) const {
  prepare_();
  Print(Printable(question) + " [y/N] ");
  if (!CanRead(STDIN_FILENO, giveUp_)) {
    Write("\n");
    return false;
  }
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
    PrintError(ToErrorText(outcome), {outcome.verdict, kRed});
  } else if (!quiet_) {
    Print(ToText(outcome), {outcome.verdict, kGreen});
  }
  return Conclude(outcome);
}

ExitCode Console::Conclude(const Outcome& outcome) const {
  const bool isMissing = outputError_ != 0 && (json_ || !outcome.failure);
  if (!isMissing) {
    return outcome.exitCode;
  }
  if (outcome.failure) {
    PrintError(ToErrorText(outcome), {outcome.verdict, kRed});
  }
  PrintError(ToUndeliveredText(outcome, posix::ErrorText(outputError_)));
  return outcome.failure ? outcome.exitCode : ExitCode::kNotDelivered;
}

std::string Console::For(int descriptor, const std::string& text, const Emphasis& emphasis) const {
  if (isatty(descriptor) == 0) {
    return text;
  }
  const std::string wrapped = Wrapped(text, WidthOf(descriptor));
  return colour_ && ObeysSequences(descriptor) ? Emphasized(wrapped, emphasis) : wrapped;
}

void Console::Print(const std::string& text, const Emphasis& emphasis) const {
  Write(For(STDOUT_FILENO, text, emphasis));
}

void Console::PrintError(const std::string& text, const Emphasis& emphasis) const {
  WriteError(For(errors_.Get(), text, emphasis));
}

void Console::Write(const std::string& text) const {
  if (outputError_ == 0 && !WriteWhileRead(STDOUT_FILENO, text, giveUp_)) {
    outputError_ = errno;
  }
}

void Console::WriteError(const std::string& text) const {
  (void)WriteWhileRead(errors_.Get(), text, giveUp_);  // there is nowhere left to say so
}

}  // namespace orvhost
