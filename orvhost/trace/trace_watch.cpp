#include "orvhost/trace/trace_watch.h"

#include <vector>

#include "host/DllCommon.h"

namespace orvhost {

namespace {

constexpr std::size_t kKeptLines = 5;

void Keep(std::vector<std::string>* lines, const std::string& line) {
  if (lines->size() == kKeptLines) {
    lines->erase(lines->begin());
  }
  lines->push_back(line);
}

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// What stands between `start`, with which the text must begin, and the last "]"; "" when the text is another one.
std::string Bracketed(const std::string& text, const std::string& start) {
  const std::size_t end = text.rfind(']');
  if (!StartsWith(text, start) || end == std::string::npos || end < start.size()) {
    return "";
  }
  return text.substr(start.size(), end - start.size());
}

// The word behind the first occurrence of `label`, if that stands in the text; a colon or blank between is skipped.
bool FindWord(const std::string& text, const std::string& label, std::string* word) {
  const std::size_t hit = text.find(label);
  if (hit == std::string::npos) {
    return false;
  }
  std::size_t start = hit + label.size();
  if (start < text.size() && (text[start] == ':' || text[start] == ' ')) {
    ++start;
  }
  *word = text.substr(start, text.find(' ', start) - start);
  return true;
}

}  // namespace

void TraceWatch::Write(const refhost::TraceRecord& record) {
  const std::string text(record.text);
  if (record.level == 0) {
    lastMessageId_ = record.messageId;
    lastDetail_ = record.detail;
    Keep(&evidence_.records, text);
    return;
  }
  if (record.level == CTraceUtility::TRACE_DBG_INFO) {
    WatchProgress(text);
  }
  WatchFailure(record, text);
}

void TraceWatch::WatchProgress(const std::string& text) {
  static const std::string kFlashTool = "Execute:";
  if (StartsWith(text, kFlashTool)) {
    flashBegan_ = true;
    evidence_.command = text.substr(kFlashTool.size());
  } else if (const std::string script = Bracketed(text, "["); script.find("/bmcup.sh < ") != std::string::npos) {
    flashBegan_ = true;
    evidence_.command = script;
  } else if (const std::string command = Bracketed(text, "Execute command ["); !command.empty()) {
    evidence_.command = command;
  } else if (StartsWith(text, "Exec [")) {
    evidence_.command = text.substr(6, text.rfind("]. iret[") - 6);
  } else if (StartsWith(text, "shutdown -")) {
    shutdownWasRequested_ = true;
    evidence_.command = text;
  }
}

// Some final failures are written at the levels of progress or flow, so the wording counts too.
void TraceWatch::WatchFailure(const refhost::TraceRecord& record, const std::string& text) {
  const bool isFailure = record.level == CTraceUtility::TRACE_DBG_ERROR ||
                         record.level == CTraceUtility::TRACE_DBG_RETRY || StartsWith(text, "Failed to");
  if (!isFailure) {
    return;
  }
  Keep(&evidence_.trace, text);
  if (!FindWord(text, "CompletionCode", &evidence_.completionCode)) {
    FindWord(text, "ResponseData1", &evidence_.completionCode);
  }
}

}  // namespace orvhost
