#include "ipmi/response_parser.h"

#include <algorithm>

namespace kestrel {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

// Cuts the first line off, with its end.
std::string_view TakeLine(std::string_view* text) {
  const std::string_view line = text->substr(0, text->find('\n'));
  text->remove_prefix(std::min(line.size() + 1, text->size()));
  return line;
}

// Cuts the first word off; "" when there is none.
std::string_view TakeWord(std::string_view* text) {
  text->remove_prefix(std::min(text->find_first_not_of(kWhiteSpace), text->size()));
  const std::string_view word = text->substr(0, text->find_first_of(kWhiteSpace));
  text->remove_prefix(word.size());
  return word;
}

bool AppendBytes(std::string_view text, std::list<std::string>* response) {
  for (std::string_view word = TakeWord(&text); !word.empty(); word = TakeWord(&text)) {
    if (word.size() != 2) {
      return false;
    }
    response->emplace_back(word);
  }
  return true;
}

}  // namespace

bool ParseIpmitoolOutput(std::string_view output, std::list<std::string>* response) {
  response->emplace_back("00");
  return AppendBytes(output, response);
}

bool ParseMakersToolOutput(std::string_view output, std::list<std::string>* response) {
  TakeLine(&output);
  std::string_view answer = TakeLine(&output);
  for (int ownWord = 0; ownWord < 4; ++ownWord) {
    TakeWord(&answer);
  }
  return AppendBytes(answer, response);
}

}  // namespace kestrel
