#include "refhost/catalogue.h"

#include <algorithm>

namespace refhost {

namespace {

std::string WithMeaning(const std::string& insert) {
  const std::string meaning = DetailMeaning(insert);
  return meaning.empty() ? insert : insert + ": " + meaning;
}

}  // namespace

const Message* FindMessage(std::string_view id) {
  const auto messages = AllMessages();
  const auto found = std::ranges::find_if(messages, [id](const Message& m) { return m.id == id; });
  return found != messages.end() ? &*found : nullptr;
}

std::string Sentence(const Message& message, const std::vector<std::string>& inserts) {
  std::string text;
  for (std::size_t i = 0; i < message.sentence.size(); ++i) {
    if (message.sentence[i] != '%') {
      text += message.sentence[i];
      continue;
    }
    const auto index = static_cast<std::size_t>(message.sentence[++i] - '1');
    const std::string insert = index < inserts.size() ? inserts[index] : "";
    text += message.insertCount == 1 ? WithMeaning(insert) : insert;
  }
  return text;
}

std::optional<std::vector<DetailPart>> SplitDetail(std::string_view detail) {
  const auto details = AllDetails();
  std::vector<DetailPart> parts;
  for (std::size_t i = 0; i < detail.size(); i += 2) {
    const std::string_view code = detail.substr(i, 2);
    const auto found = std::ranges::find_if(details, [code](const Detail& d) { return d.code == code; });
    if (found == details.end()) {
      return {};
    }
    if (!parts.empty() && parts.back().detail == &*found) {
      ++parts.back().times;
    } else {
      parts.push_back({&*found, 1});
    }
  }
  if (parts.empty()) {
    return {};
  }
  return parts;
}

std::string DetailMeaning(std::string_view detail) {
  std::string meaning;
  for (const DetailPart& part : SplitDetail(detail).value_or(std::vector<DetailPart>{})) {
    if (!meaning.empty()) {
      meaning += "; ";
    }
    meaning += part.detail->failed;
    if (part.times > 1) {
      meaning += " (" + std::to_string(part.times) + " times)";
    }
  }
  return meaning;
}

}  // namespace refhost
