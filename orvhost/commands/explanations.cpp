#include "orvhost/commands/explanations.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "host/DllCommon.h"
#include "refhost/catalogue.h"

namespace orvhost {

namespace {

std::string AsSentence(std::string clause) {
  clause[0] = CStringUtil::StringToUpperCase(clause.substr(0, 1))[0];
  return clause + ".";
}

// A record carries its detail code in parentheses; without a record there is none.
Explanation Of(const refhost::Message& message) {
  std::string failed(message.sentence);
  CStringUtil::strReplace(failed, " (%1)", "");
  CStringUtil::strReplace(failed, "%1", "X");
  CStringUtil::strReplace(failed, "%2", "Y");
  return {"message", std::string(message.id), failed, std::string(message.meaning), std::string(message.remedy)};
}

Explanation Of(const refhost::DetailPart& part) {
  std::string failed(part.detail->failed);
  if (part.times > 1) {
    failed += " (" + std::to_string(part.times) + " times)";
  }
  return {"detail", std::string(part.detail->code), AsSentence(failed), std::string(part.detail->meaning),
          std::string(part.detail->remedy)};
}

Explanation Of(const std::string& kind, const NumberText& text) {
  return {kind, std::to_string(text.number), std::string(text.failed), std::string(text.means), std::string(text.todo)};
}

// Appends what `number` stands for; false when it stands for nothing.
bool ExplainNumber(const std::string& kind, const std::string& number, std::vector<Explanation>* explanations) {
  const auto texts = kind == "exit" ? ExitCodeTexts() : ResultTexts();
  const auto found =
      std::ranges::find_if(texts, [&number](const NumberText& text) { return std::to_string(text.number) == number; });
  if (found == texts.end()) {
    return false;
  }
  explanations->push_back(Of(kind, *found));
  return true;
}

// Also without what all identifiers begin and end with.
const refhost::Message* FindMessageBy(const std::string& code) {
  for (const std::string& id : {code, "MSGID_" + code, "MSGID_" + code + "_F", code + "_F"}) {
    if (const refhost::Message* message = refhost::FindMessage(id)) {
      return message;
    }
  }
  return nullptr;
}

void ExplainAllOf(const std::string& kind, std::vector<Explanation>* explanations) {
  for (const NumberText& text : kind == "exit" ? ExitCodeTexts() : ResultTexts()) {
    explanations->push_back(Of(kind, text));
  }
}

bool ExplainCode(const std::string& word, std::vector<Explanation>* explanations) {
  std::string code = CStringUtil::StringToUpperCase(word);
  if (code.starts_with("0X")) {
    code.erase(0, 2);
  }
  if (const refhost::Message* message = FindMessageBy(code)) {
    explanations->push_back(Of(*message));
    return true;
  }
  const auto parts = refhost::SplitDetail(code);
  if (!parts) {
    return false;
  }
  for (const refhost::DetailPart& part : *parts) {
    explanations->push_back(Of(part));
  }
  return true;
}

// The words one by one, whether they came in one argument or in several.
std::vector<std::string> Separated(const std::vector<std::string>& arguments) {
  std::vector<std::string> words;
  for (const std::string& argument : arguments) {
    std::istringstream stream(argument);
    for (std::string word; stream >> word;) {
      words.push_back(word);
    }
  }
  return words;
}

}  // namespace

std::optional<std::vector<Explanation>> Explain(const std::vector<std::string>& words, std::string* unknown) {
  const std::vector<std::string> separated = Separated(words);
  std::vector<Explanation> explanations;
  for (std::size_t i = 0; i < separated.size(); ++i) {
    const std::string kind = CStringUtil::StringToLowerCase(separated[i]);
    const bool isKind = kind == "exit" || kind == "result";
    if (isKind && (i + 1 == separated.size() || std::isdigit(static_cast<unsigned char>(separated[i + 1][0])) == 0)) {
      ExplainAllOf(kind, &explanations);
      continue;
    }
    const bool counts = isKind && i + 1 < separated.size();
    if (counts ? ExplainNumber(kind, separated[i + 1], &explanations) : ExplainCode(separated[i], &explanations)) {
      i += counts ? 1 : 0;
      continue;
    }
    *unknown = counts ? separated[i] + " " + separated[i + 1] : separated[i];
    return {};
  }
  return explanations;
}

std::vector<Explanation> ExplainAll() {
  std::vector<Explanation> explanations;
  for (const refhost::Message& message : refhost::AllMessages()) {
    explanations.push_back(Of(message));
  }
  for (const refhost::Detail& detail : refhost::AllDetails()) {
    explanations.push_back(Of(refhost::DetailPart{&detail, 1}));
  }
  for (const NumberText& text : ExitCodeTexts()) {
    explanations.push_back(Of("exit", text));
  }
  for (const NumberText& text : ResultTexts()) {
    explanations.push_back(Of("result", text));
  }
  return explanations;
}

}  // namespace orvhost
