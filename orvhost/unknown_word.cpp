#include "orvhost/unknown_word.h"

#include <string_view>
#include <vector>

#include "orvhost/commands/commands.h"
#include "orvhost/interface/nearest.h"

namespace orvhost {

namespace {

// The first word that is neither an option nor an option's value; "" for none.
std::string FirstWord(const CLI::App& app, int argc, const char* const* argv) {
  for (int at = 1; at < argc; ++at) {
    std::string word = argv[at];
    if (!word.starts_with("-")) {
      return word;
    }
    const CLI::Option* option = app.get_option_no_throw(word);
    at += option != nullptr && option->get_items_expected_min() > 0 ? 1 : 0;
  }
  return "";
}

std::string DidYouMean(const std::string& typed, const std::vector<std::string>& words) {
  const std::string nearest = Nearest(typed, words);
  return nearest.empty() ? "." : "; did you mean \"" + nearest + "\"?";
}

}  // namespace

std::string UnknownWord(const CLI::App& app, int argc, const char* const* argv) {
  const CLI::App* chosen = app.get_subcommands().empty() ? nullptr : app.get_subcommands().front();
  std::vector<std::string> names;
  for (const Command* command : AllCommands()) {
    names.emplace_back(command->name);
  }
  const std::string first = FirstWord(app, argc, argv);
  if (chosen == nullptr && !first.empty()) {
    return "There is no subcommand \"" + first + "\"" + DidYouMean(first, names);
  }
  std::vector<std::string> options;
  for (const CLI::App* each : {&app, chosen}) {
    for (const CLI::Option* option : each != nullptr ? each->get_options() : std::vector<const CLI::Option*>()) {
      options.push_back(option->get_name());
    }
  }
  for (int at = 1; at < argc; ++at) {
    const std::string word = std::string(argv[at]).substr(0, std::string(argv[at]).find('='));
    const bool isKnown =
        app.get_option_no_throw(word) != nullptr || (chosen != nullptr && chosen->get_option_no_throw(word) != nullptr);
    if (word.starts_with("--") && word.size() > 2 && !isKnown) {
      return "There is no option " + word + DidYouMean(word, options);
    }
  }
  return "";
}

}  // namespace orvhost
