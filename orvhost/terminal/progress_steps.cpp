#include "orvhost/terminal/progress_steps.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <sstream>

#include "host/DllCommon.h"
#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

namespace lines = plugin_lines::lines;
using plugin_lines::Wording;

constexpr int kAttempts = 3;  // of every request to the BMC, and of the flash tool

// The first that `text` begins with; null when there is none.
const Wording* Find(std::span<const Wording> wordings, std::string_view text) {
  const auto found =
      std::ranges::find_if(wordings, [text](const Wording& wording) { return text.starts_with(wording.text); });
  return found != wordings.end() ? &*found : nullptr;
}

// The step that begins with this line; null when none does. `*attempts`: how many there can be.
const Wording* StepIn(std::string_view line, int* attempts) {
  *attempts = kAttempts;
  if (const Wording* request = Find(plugin_lines::requests::kSteps, RequestIn(line))) {
    return request;
  }
  *attempts = 1;
  const Wording* command = Find(plugin_lines::commands::kSteps, plugin_lines::CommandIn(line).value_or(""));
  return command != nullptr ? command : Find(lines::kSteps, line);
}

// Both tools' requests in one form: the maker's takes the network function shifted left by two.
std::string InOneForm(const std::string& words, bool shifted) {
  std::istringstream stream(words);
  std::string request;
  for (std::string word; stream >> word;) {
    if (word.starts_with("0x")) {
      word.erase(0, 2);
    }
    if (word.size() != 2 || word.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
      break;
    }
    if (shifted && request.empty()) {
      std::array<char, 3> text{};
      snprintf(text.data(), text.size(), "%02x", static_cast<unsigned>(std::stoul(word, nullptr, 16)) >> 2U & 0x3fU);
      word = text.data();
    }
    request += (request.empty() ? "" : " ") + word;
  }
  return request;
}

}  // namespace

std::string RequestIn(std::string_view line) {
  using namespace plugin_lines::commands;
  if (!line.starts_with(lines::kRequestStarts)) {
    return "";
  }
  line.remove_prefix(lines::kRequestStarts.size());
  if (line.starts_with(kMakersToolRequest)) {
    return InOneForm(std::string(line.substr(kMakersToolRequest.size())), true);
  }
  const std::size_t request = line.find(kIpmitoolRequest);
  return request == std::string_view::npos
             ? ""
             : InOneForm(std::string(line.substr(request + kIpmitoolRequest.size())), false);
}

void ProgressSteps::Take(const refhost::TraceRecord& record) {
  const std::string_view text = record.text;
  int attempts = 1;
  if (record.level == CTraceUtility::TRACE_DBG_RETRY) {
    // How often the flash tool was started tells its attempts; what follows it is a new beginning.
    if (step_.words != plugin_lines::kFlashToolWords) {
      step_.attempt = std::min(step_.attempt + 1, step_.attempts);
    }
  } else if (const auto flash = plugin_lines::FlashStartIn(text)) {
    TakeFlashStart(flash->isScript);
  } else if (text.starts_with(lines::kNextSensorRecord)) {
    step_.attempt = 1;
  } else if (const Wording* step = StepIn(text, &attempts)) {
    if (text == lines::kUpdateStarts) {
      flashRuns_ = 0;
    }
    Enter(step->words, attempts);
  }
}

void ProgressSteps::TakeFlashStart(bool isScript) {
  if (isScript) {
    Enter(plugin_lines::kScriptWords, 1);
    return;
  }
  Enter(plugin_lines::kFlashToolWords, kAttempts);
  step_.attempt = std::min(++flashRuns_, kAttempts);
}

void ProgressSteps::Enter(std::string_view words, int attempts) {
  if (step_.words != words) {
    step_.attempt = 1;
  }
  step_.words = words;
  step_.attempts = std::max(attempts, step_.attempt);
}

}  // namespace orvhost
