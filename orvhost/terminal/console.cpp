#include "orvhost/terminal/console.h"

#include <unistd.h>

#include <iostream>

namespace orvhost {

void Console::Say(const std::string& step, const std::string& text) const {
  prepare_();
  if (!quiet_) {
    std::cout << step << ": " << text << std::endl;
  }
}

void Console::Notice(const std::string& sentence) const {
  prepare_();
  if (!quiet_) {
    std::cerr << "orvhost: " << sentence << std::endl;
  }
}

void Console::Show(const std::string& lines) const {
  prepare_();
  if (!quiet_) {
    std::cout << lines << std::flush;
  }
}

bool Console::IsTerminal() const {
  return !quiet_ && isatty(STDOUT_FILENO) != 0;
}

bool Console::CanAsk() const {
  return IsTerminal() && isatty(STDIN_FILENO) != 0;
}

bool Console::Ask(const std::string& question) const {
  prepare_();
  std::cout << question << " [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

void Console::Report(const Outcome& outcome) const {
  prepare_();
  if (json_) {
    std::cout << ToJson(outcome) << std::flush;
  } else if (outcome.failure) {
    std::cerr << ToErrorText(outcome) << std::flush;
  } else if (!quiet_) {
    std::cout << ToText(outcome) << std::flush;
  }
}

}  // namespace orvhost
