// Speaks with the person at the terminal while a run goes on. Says nothing with --quiet or --json.
#ifndef ORVHOST_TERMINAL_CONSOLE_H
#define ORVHOST_TERMINAL_CONSOLE_H

#include <functional>
#include <string>

#include "orvhost/interface/options.h"
#include "orvhost/interface/outcome.h"

namespace orvhost {

class Console {
 public:
  explicit Console(const Options& options) : json_(options.json), quiet_(options.quiet || options.json) {}

  // `prepare` is called before every text: it takes away what must not stand in its way.
  void BeforeText(std::function<void()> prepare) { prepare_ = std::move(prepare); }

  // One line about a step, on the standard output.
  void Say(const std::string& step, const std::string& text) const;

  // One sentence beside the result, on the standard error; programs find it in the JSON object.
  void Notice(const std::string& sentence) const;

  // Lines with their line ends, on the standard output.
  void Show(const std::string& lines) const;

  // True when a person reads the standard output at a terminal.
  [[nodiscard]] bool IsTerminal() const;

  // True when a question can be asked: somebody sits at a terminal and did not ask for quiet or JSON.
  [[nodiscard]] bool CanAsk() const;

  // Asks; true only for a clear yes.
  [[nodiscard]] bool Ask(const std::string& question) const;

  // Tells how the run ended: a failure on the standard error, a success on the standard output, or for programs one
  // JSON object on the standard output whatever happened.
  void Report(const Outcome& outcome) const;

 private:
  std::function<void()> prepare_ = [] {};
  bool json_;
  bool quiet_;
};

}  // namespace orvhost

#endif  // ORVHOST_TERMINAL_CONSOLE_H
