// The options that a command needs which somebody is to type next, so that a hint can be pasted as it stands. Pure.
#ifndef ORVHOST_INTERFACE_REPEATED_OPTIONS_H
#define ORVHOST_INTERFACE_REPEATED_OPTIONS_H

#include <string>
#include <string_view>

#include "orvhost/interface/outcome.h"

namespace orvhost {

// The text as one word of a shell's command line, quoted where that is necessary.
[[nodiscard]] std::string ShellWord(std::string_view text);

// The same for a command line that this program runs itself: in single quotes, as every sh understands them, for any
// text. People read the other one.
[[nodiscard]] std::string SingleQuoted(std::string_view text);

// Puts `options`, which begin with a blank or are "", at the end of every command of this program that the texts of
// `*outcome` give between double quotes.
void RepeatOptions(const std::string& options, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_REPEATED_OPTIONS_H
