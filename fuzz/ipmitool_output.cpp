// What ipmitool prints, as ParseIpmitoolOutput reads it.
#include <algorithm>
#include <sstream>

#include "fuzz/property.h"
#include "ipmi/response_parser.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::Text(data, size);
  std::list<std::string> response{"kept"};
  const bool whole = kestrel::ParseIpmitoolOutput(text, &response);

  fuzz::Require(response.size() >= 2 && response.front() == "kept", "what the list held stays in front");
  response.pop_front();
  fuzz::Require(response.front() == "00", "the completion code is 00");
  fuzz::Require(std::ranges::all_of(response, [](const auto& byte) { return byte.size() == 2; }),
                "every element has two characters");

  std::istringstream words(text);
  std::list<std::string> expected{"00"};
  std::string word;
  while (words >> word && word.size() == 2) {
    expected.push_back(word);
  }
  fuzz::Require(response == expected, "the elements are the words up to the first of another length");
  fuzz::Require(whole == !words, "the answer is whole when there is none of another length");
  return 0;
}
