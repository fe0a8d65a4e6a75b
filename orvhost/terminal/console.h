// Speaks with the person at the terminal while a run goes on. Says nothing with --quiet or --json. No text, wherever it
// comes from, leaves its line or steers the terminal.
#ifndef ORVHOST_TERMINAL_CONSOLE_H
#define ORVHOST_TERMINAL_CONSOLE_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "orvhost/interface/options.h"
#include "orvhost/interface/outcome.h"
#include "posix/file_descriptor.h"

namespace orvhost {

// The one word of a text that is coloured at a terminal. It says the same without its colour.
struct Emphasis {
  std::string word;              // "" for none
  const char* colour = nullptr;  // a control sequence
};

class Console {
 public:
  // Errors go to what the standard error is now, also when something else takes its place later.
  explicit Console(const Options& options);

  // `prepare` is called before every text: it takes away what must not stand in its way.
  void BeforeText(std::function<void()> prepare) { prepare_ = std::move(prepare); }

  // One line about a step, on the standard output.
  void Say(const std::string& step, const std::string& text) const;

  // One sentence beside the result, on the standard error; programs find it in the JSON object.
  void Notice(const std::string& sentence) const;

  // The same, also with --quiet or --json. May be called by any thread.
  void Warn(const std::string& sentence) const;

  // When `descriptor` is readable, a question waits for no answer any more, and a text not for ever for a reader that
  // does not read. -1 for none, as at the start.
  void GiveUpAt(int descriptor) { giveUp_ = descriptor; }

  // Lines, on the standard output.
  void Show(const std::vector<std::string>& lines) const;

  // True when a person reads the standard output at a terminal.
  [[nodiscard]] bool IsTerminal() const;

  // The width of that terminal; without one there is no limit.
  [[nodiscard]] std::size_t Columns() const;

  // True when a question can be asked: somebody sits at a terminal and did not ask for quiet or JSON.
  [[nodiscard]] bool CanAsk() const;

  // Asks; true only for a clear yes.
  [[nodiscard]] bool Ask(const std::string& question) const;

  // Tells how the run ended: a failure on the standard error, a success on the standard output, or for programs one
  // JSON object on the standard output in every case.
  // Answers the exit code of the program: the run's own, or kNotDelivered for a success of which the standard output
  // did not take everything; then the standard error says so.
  [[nodiscard]] ExitCode Report(const Outcome& outcome) const;

  // The same for a text that was asked for in the place of a run, such as the help; also with --quiet or --json.
  void Answer(const std::string& text) const;
  [[nodiscard]] ExitCode Conclude(const Outcome& outcome) const;

 private:
  // For people: as lines of the terminal's width where the stream is one.
  void Print(const std::string& text, const Emphasis& emphasis = {}) const;
  void PrintError(const std::string& text, const Emphasis& emphasis = {}) const;
  [[nodiscard]] std::string For(int descriptor, const std::string& text, const Emphasis& emphasis) const;

  // As it is.
  void Write(const std::string& text) const;
  void WriteError(const std::string& text) const;

  std::function<void()> prepare_ = [] {};
  posix::FileDescriptor errors_;
  int giveUp_ = -1;
  mutable int outputError_ = 0;  // of the first text that could not be written; nothing is written after it
  bool json_;
  bool quiet_;
  bool colour_;
};

}  // namespace orvhost

#endif  // ORVHOST_TERMINAL_CONSOLE_H
