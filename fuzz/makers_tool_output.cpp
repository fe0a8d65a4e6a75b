// What the maker's tool prints, as ParseMakersToolOutput reads it.
#include <algorithm>
#include <span>
#include <sstream>
#include <vector>

#include "fuzz/property.h"
#include "ipmi/response_parser.h"

namespace {

std::vector<std::string> WordsOfSecondLine(const std::string& text) {
  const auto [first, rest] = fuzz::FirstLineAndRest(text);
  std::istringstream line(fuzz::FirstLineAndRest(rest).first);
  std::vector<std::string> words;
  for (std::string word; line >> word;) {
    words.push_back(word);
  }
  return words;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::Text(data, size);
  std::list<std::string> response;
  const bool whole = kestrel::ParseMakersToolOutput(text, &response);

  fuzz::Require(std::ranges::all_of(response, [](const auto& byte) { return byte.size() == 2; }),
                "every element has two characters");
  const std::vector<std::string> words = WordsOfSecondLine(text);
  const std::size_t answer = words.size() < 4 ? 0 : words.size() - 4;
  fuzz::Require(response.size() <= answer, "four words and every other line are skipped");
  fuzz::Require(whole == (response.size() == answer), "the answer is whole when every word was taken");
  fuzz::Require(std::ranges::equal(response, std::span(words).last(answer).first(response.size())),
                "the elements are the words behind the first four");
  return 0;
}
