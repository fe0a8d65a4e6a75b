#include "ipmi/response_parser.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace kestrel {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

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

bool ParseIpmitoolOutput(std::istream& output, std::list<std::string>* response) {
  response->emplace_back("00");
  const std::string text{std::istreambuf_iterator<char>(output), {}};
  return AppendBytes(text, response);
}

bool ParseMakersToolOutput(std::istream& output, std::list<std::string>* response) {
  std::string line;
  std::getline(output, line);
  line.clear();
  std::getline(output, line);
  std::string_view answer = line;
  for (int ownWord = 0; ownWord < 4; ++ownWord) {
    TakeWord(&answer);
  }
  return AppendBytes(answer, response);
}

}  // namespace kestrel
