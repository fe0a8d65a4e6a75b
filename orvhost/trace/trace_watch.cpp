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
    BlameCommand();
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
    command_ = *command;
  }
  if (const auto flash = plugin_lines::FlashStartIn(text)) {
    ++flashStarts_;
    flashCommand_ = flash->command;
  } else if (plugin_lines::IsGoingDown(text)) {
    shutdownWasRequested_ = true;
    restartWasRequested_ = text.starts_with(plugin_lines::lines::kMachineRestarts);
    command_ = text;
  }
}

void TraceWatch::CommandNeverStarted(std::string_view line) {
  if (line == flashCommand_ && flashStarts_ > 0) {
    --flashStarts_;
  }
}

// A record or a line about a failure comes before the next command, and what runs after it is for tidying up.
void TraceWatch::BlameCommand() {
  hasFailed_ = true;
  evidence_.command = command_;
  evidence_.errorOutput = errorLines_.Lines();
}

Evidence TraceWatch::Gathered() const {
  Evidence evidence = evidence_;
  if (!hasFailed_) {
    evidence.command = command_;
    evidence.errorOutput = errorLines_.Lines();
  }
  return evidence;
}

void TraceWatch::WatchFailure(std::string_view text) {
  Keep(&evidence_.trace, text);
  BlameCommand();
  if (!FindWord(text, plugin_lines::parts::kCompletionCode, &evidence_.completionCode)) {
    FindWord(text, plugin_lines::parts::kResponseData, &evidence_.completionCode);
  }
}

}  // namespace orvhost
