// What is wrong with a command line that holds a word which is no subcommand's and no option's.
#ifndef ORVHOST_UNKNOWN_WORD_H
#define ORVHOST_UNKNOWN_WORD_H

#include <CLI/CLI.hpp>
#include <string>

namespace orvhost {

// A sentence that names the first such word and the one that was most likely meant, after `app` could not read
// `argc` words of `argv`; "" when there is no such word.
[[nodiscard]] std::string UnknownWord(const CLI::App& app, int argc, const char* const* argv);

}  // namespace orvhost

#endif  // ORVHOST_UNKNOWN_WORD_H
