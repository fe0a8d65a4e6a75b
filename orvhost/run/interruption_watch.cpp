#include "orvhost/run/interruption_watch.h"

#include <algorithm>
#include <span>

#include "host/DllCommon.h"
#include "orvhost/terminal/progress_steps.h"
#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

// The words for the request; "" for one that is not among them.
std::string_view WordsFor(std::string_view request, std::span<const plugin_lines::Wording> wordings) {
  const auto found =
      std::ranges::find_if(wordings, [&](const auto& wording) { return request.starts_with(wording.text); });
  return found != wordings.end() ? found->words : "";
}

}  // namespace

void InterruptionWatch::Write(const refhost::TraceRecord& record) {
  if (record.level != CTraceUtility::TRACE_DBG_INFO) {
    return;
  }
  if (plugin_lines::FlashStartIn(record.text)) {
    interruption_.FlashStarts(plugin_lines::kFlashTimeLimit);
    interruption_.Hold("the flash is being written");
  } else if (plugin_lines::IsGoingDown(record.text)) {
    interruption_.Hold("the machine is being taken down");
  }
  const std::string request = RequestIn(record.text);
  if (request.empty()) {
    return;
  }
  if (const auto step = WordsFor(request, plugin_lines::requests::kNotLeftHalfWay); !step.empty()) {
    interruption_.Hold(step);
  }
  if (const auto change = WordsFor(request, plugin_lines::requests::kChanges); !change.empty()) {
    interruption_.Leaves(change);
  }
}

}  // namespace orvhost
