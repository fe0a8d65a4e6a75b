// CTraceUtility and the way from it to the sink.
#include "refhost/common/trace.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <vector>

#include "refhost/catalogue.h"
#include "refhost/contract.h"
#include "refhost/machine.h"
#include "refhost/trace_sink.h"

namespace refhost {

namespace {

std::atomic<TraceSink*> currentSink{nullptr};
std::atomic<int> enabledLevels{kAllTraceLevels};

bool IsControl(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return (byte < 0x20 && character != '\t') || byte == 0x7f;
}

// A record stays one line with any text.
std::string EscapeControls(std::string text) {
  if (std::ranges::none_of(text, IsControl)) {
    return text;
  }
  std::string line;
  line.reserve(text.size());
  for (const char character : text) {
    if (!IsControl(character)) {
      line += character;
    } else if (character == '\n') {
      line += "\\n";
    } else {
      std::array<char, 5> escape{};
      snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(character)));
      line += escape.data();
    }
  }
  return line;
}

__attribute__((format(printf, 1, 0))) std::string FormatText(const char* format, va_list arguments) {
  std::array<char, 1024> buffer;
  va_list again;
  va_copy(again, arguments);
  const int length = vsnprintf(buffer.data(), buffer.size(), format, arguments);
  std::string text;
  if (length >= 0 && static_cast<std::size_t>(length) < buffer.size()) {
    text.assign(buffer.data(), static_cast<std::size_t>(length));
  } else if (length >= 0) {
    text.resize(static_cast<std::size_t>(length) + 1);
    vsnprintf(text.data(), text.size(), format, again);
    text.pop_back();
  }
  va_end(again);
  return text;
}

// Writes the last `count` digits of `number` at the end of `text`.
void AppendDigits(long number, int count, std::string* text) {
  text->append(static_cast<std::size_t>(count), '0');
  for (auto digit = text->rbegin(); count > 0; ++digit, --count, number /= 10) {
    *digit = static_cast<char>('0' + number % 10);
  }
}

bool IsWanted(int level) {
  return currentSink.load() != nullptr && (enabledLevels.load() & level) != 0;
}

void Deliver(const TraceRecord& record) {
  if (TraceSink* sink = currentSink.load()) {
    sink->Write(record);
  }
}

}  // namespace

TraceSink::~TraceSink() = default;

void SetTraceSink(TraceSink* sink) {
  currentSink = sink;
}

void SetTraceLevels(int mask) {
  enabledLevels = mask;
}

// Own arithmetic instead of gmtime, which takes a lock that a fork could leave held, and own digits, since every line
// begins with them.
std::string UtcNow() {
  using std::chrono::floor;
  const auto now = CurrentMachine().Now();
  const auto day = floor<std::chrono::days>(now);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss time{floor<std::chrono::microseconds>(now - day)};
  std::string text;
  const auto put = [&text](long number, int digits, char separator) {
    AppendDigits(number, digits, &text);
    text += separator;
  };
  put(static_cast<int>(date.year()), 4, '-');
  put(static_cast<unsigned>(date.month()), 2, '-');
  put(static_cast<unsigned>(date.day()), 2, 'T');
  put(time.hours().count(), 2, ':');
  put(time.minutes().count(), 2, ':');
  put(time.seconds().count(), 2, '.');
  put(time.subseconds().count(), 6, 'Z');
  return text;
}

std::string FormatTraceLine(const TraceRecord& record) {
  std::string line = UtcNow();
  line += ' ';
  line += record.level == 0 ? "R" : std::to_string(record.level);
  line += ' ';
  line += record.text;
  line += '\n';
  return line;
}

void TraceError(const std::string& channel, const std::string& text) {
  CTraceUtility::WriteDebug(channel.c_str(), CTraceUtility::TRACE_DBG_ERROR, "%s", text.c_str());
}

}  // namespace refhost

void CTraceUtility::WriteDebug(const char* module, TRACE_DBG_LEVEL level, const char* format, ...) {
  if (!refhost::IsWanted(level) || format == nullptr) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  const std::string text = refhost::EscapeControls(refhost::FormatText(format, arguments));
  va_end(arguments);
  refhost::Deliver({level, module != nullptr ? module : "", "", "", text});
}

void CTraceUtility::WriteTrace(const char* module, const char* messageId, ...) {
  if (refhost::currentSink.load() == nullptr || messageId == nullptr) {
    return;
  }
  // How many texts follow is known from the catalogue only; reading one that was not passed would be fatal.
  const refhost::Message* message = refhost::FindMessage(messageId);
  std::vector<std::string> inserts;
  va_list arguments;
  va_start(arguments, messageId);
  for (int i = 0; message != nullptr && i < message->insertCount; ++i) {
    const char* insert = va_arg(arguments, const char*);
    inserts.emplace_back(insert != nullptr ? insert : "");
  }
  va_end(arguments);
  const std::string sentence =
      message != nullptr ? refhost::Sentence(*message, inserts) : std::string("This message is not in the catalogue.");
  const std::string text = refhost::EscapeControls(std::string(messageId) + " " + sentence);
  refhost::Deliver({0, module != nullptr ? module : "", messageId,
                    inserts.empty() ? std::string_view() : std::string_view(inserts.front()), text});
}
