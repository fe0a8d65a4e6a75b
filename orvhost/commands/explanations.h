// What a code that an operator meets stands for: message identifiers and detail codes of the plug-in's records, exit
// codes of orvhost, results of a plug-in's operations. Pure texts; nothing is asked or changed.
#ifndef ORVHOST_COMMANDS_EXPLANATIONS_H
#define ORVHOST_COMMANDS_EXPLANATIONS_H

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvhost {

// All texts but the first two are whole sentences.
struct Explanation {
  std::string kind;  // "message", "detail", "exit" or "result"
  std::string code;  // "MSGID_BMC_0013_F", "16", "8", "1024"
  std::string failed;
  std::string means;
  std::string todo;
};

// A number with its texts.
struct NumberText {
  int number;
  std::string_view failed;
  std::string_view means;
  std::string_view todo;
};

// Every exit code of orvhost, and every result of a plug-in's operations and of the host's command service, ascending.
[[nodiscard]] std::span<const NumberText> ExitCodeTexts();
[[nodiscard]] std::span<const NumberText> ResultTexts();

// Explains codes as they stand on a command line: an identifier, a detail code also of several codes run together, or
// "exit" or "result" followed by a number, in one word or in two. Letters count in either case. Nothing, with the first
// word that is no code in `*unknown`, when there is one.
[[nodiscard]] std::optional<std::vector<Explanation>> Explain(const std::vector<std::string>& words,
                                                              std::string* unknown);

// Everything that can be explained: messages, details, exit codes, results.
[[nodiscard]] std::vector<Explanation> ExplainAll();

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_EXPLANATIONS_H
