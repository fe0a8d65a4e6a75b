#include "orvhost/interface/repeated_options.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace orvhost {

namespace {

constexpr std::string_view kCommand = "\"orvhost ";

// These neither load a plug-in nor read below the install path.
constexpr auto kWithoutOptions = std::to_array<std::string_view>({"--help", "explain"});

std::string WithOptions(std::string text, const std::string& options) {
  for (std::size_t at = text.find(kCommand); at != std::string::npos; at = text.find(kCommand, at)) {
    at += kCommand.size();
    const std::size_t end = text.find('"', at);
    if (end == std::string::npos) {
      break;
    }
    const std::string_view command = std::string_view(text).substr(at, end - at);
    const bool needsNone =
        std::ranges::any_of(kWithoutOptions, [command](std::string_view word) { return command.starts_with(word); });
    if (needsNone || command.find("--install-path") != std::string_view::npos) {
      at = end + 1;
      continue;
    }
    text.insert(end, options);
    at = end + options.size() + 1;
  }
  return text;
}

}  // namespace

std::string ShellWord(std::string_view text) {
  const bool isPlain = !text.empty() && std::ranges::all_of(text, [](unsigned char character) {
    return std::isalnum(character) != 0 ||
           std::string_view("/._-+@:,%=").find(static_cast<char>(character)) != std::string_view::npos;
  });
  if (isPlain) {
    return std::string(text);
  }
  const bool isSimple = std::ranges::none_of(text, [](unsigned char character) {
    return std::iscntrl(character) != 0 ||
           std::string_view("'\"\\").find(static_cast<char>(character)) != std::string_view::npos;
  });
  if (isSimple) {
    return "'" + std::string(text) + "'";
  }
  // With the escapes of a POSIX shell's dollar-single-quotes, so that no quote of a hint and no line ends in it.
  std::string word = "$'";
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '\'' || character == '\\') {
      word += std::string("\\") + character;
    } else if (character == '"' || std::iscntrl(byte) != 0) {
      word += {'\\', 'x', "0123456789abcdef"[byte >> 4U], "0123456789abcdef"[byte & 0xfU]};
    } else {
      word += character;
    }
  }
  return word + "'";
}

std::string SingleQuoted(std::string_view text) {
  std::string word = "'";
  for (const char character : text) {
    word += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return word + "'";
}

void RepeatOptions(const std::string& options, Outcome* outcome) {
  outcome->repeatedOptions = options;
  if (options.empty()) {
    return;
  }
  outcome->summary = WithOptions(outcome->summary, options);
  for (Fact& fact : outcome->facts) {
    if (fact.key == "next_step") {
      fact.value = WithOptions(fact.value, options);
    }
  }
  if (outcome->failure) {
    outcome->failure->cause = WithOptions(outcome->failure->cause, options);
    outcome->failure->nextStep = WithOptions(outcome->failure->nextStep, options);
  }
}

}  // namespace orvhost
