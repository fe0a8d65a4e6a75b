#include "orvhost/trace/trace_watch.h"

#include <vector>

#include "host/DllCommon.h"
#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

constexpr std::size_t kKeptLines = 5;

void Keep(std::vector<std::string>* lines, std::string_view line) {
  if (lines->size() == kKeptLines) {
    lines->erase(lines->begin());
  }
  lines->emplace_back(line);
}

// The word behind the first occurrence of `label`, if that stands in the text; a colon or blank between is skipped.
bool FindWord(std::string_view text, std::string_view label, std::string* word) {
  const std::size_t hit = text.find(label);
  if (hit == std::string_view::npos) {
    return false;
  }
  text.remove_prefix(hit + label.size());
  if (text.starts_with(':') || text.starts_with(' ')) {
    text.remove_prefix(1);
  }
  *word = text.substr(0, text.find(' '));
  return true;
}

}  // namespace

void TraceWatch::Write(const refhost::TraceRecord& record) {
  if (record.level == 0) {
    lastMessageId_ = record.messageId;
    lastDetail_ = record.detail;
    Keep(&evidence_.records, record.text);
    return;
  }
  if (record.level == CTraceUtility::TRACE_DBG_INFO) {
    WatchProgress(record.text);
  }
  if (plugin_lines::IsFailure(record.level, record.text)) {
    WatchFailure(record.text);
  }
}

void TraceWatch::WatchProgress(std::string_view text) {
  if (const auto command = plugin_lines::CommandIn(text)) {
    evidence_.command = *command;
  }
  if (plugin_lines::FlashStartIn(text)) {
    flashBegan_ = true;
  } else if (plugin_lines::IsGoingDown(text)) {
    shutdownWasRequested_ = true;
    evidence_.command = text;
  }
}

void TraceWatch::WatchFailure(std::string_view text) {
  Keep(&evidence_.trace, text);
  if (!FindWord(text, plugin_lines::parts::kCompletionCode, &evidence_.completionCode)) {
    FindWord(text, plugin_lines::parts::kResponseData, &evidence_.completionCode);
  }
}

}  // namespace orvhost
