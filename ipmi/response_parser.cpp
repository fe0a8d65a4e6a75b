#include "ipmi/response_parser.h"

#include <sstream>

namespace kestrel {

namespace {

bool AppendBytes(std::istream& words, std::list<std::string>* response) {
  std::string word;
  while (words >> word) {
    if (word.size() != 2) {
      return false;
    }
    response->push_back(word);
  }
  return true;
}

}  // namespace

bool ParseIpmitoolOutput(std::istream& output, std::list<std::string>* response) {
  response->emplace_back("00");
  return AppendBytes(output, response);
}

bool ParseMakersToolOutput(std::istream& output, std::list<std::string>* response) {
  std::string line;
  std::getline(output, line);
  line.clear();
  std::getline(output, line);
  std::istringstream words(line);
  std::string ownWord;
  words >> ownWord >> ownWord >> ownWord >> ownWord;
  return AppendBytes(words, response);
}

}  // namespace kestrel
