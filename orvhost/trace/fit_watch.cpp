#include "orvhost/trace/fit_watch.h"

#include "host/DllCommon.h"
#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

// What stands in front of the first `mark`, which is cut off with it; nothing when there is none.
std::optional<std::string_view> TakeUpTo(std::string_view mark, std::string_view* text) {
  const std::size_t hit = text->find(mark);
  if (hit == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view taken = text->substr(0, hit);
  text->remove_prefix(hit + mark.size());
  return taken;
}

// "Ver[...],Serial[...],Model[...],Rep[...],iRet[1]", in which only the package's own model, Rep, may be any text.
std::optional<FitWatch::Machine> MachineIn(std::string_view text) {
  if (!text.starts_with(plugin_lines::lines::kFitAnswered) ||
      !text.ends_with(std::string(plugin_lines::parts::kFitResult) + "1]")) {
    return std::nullopt;
  }
  if (!TakeUpTo(plugin_lines::parts::kMachineSerial, &text)) {
    return std::nullopt;
  }
  const auto serialNumber = TakeUpTo(plugin_lines::parts::kMachineModel, &text);
  const auto model = TakeUpTo(plugin_lines::parts::kPackageModel, &text);
  if (!serialNumber || !model) {
    return std::nullopt;
  }
  return FitWatch::Machine{std::string(*model), std::string(*serialNumber)};
}

std::optional<std::string> SerialNumberIn(std::string_view text) {
  constexpr std::string_view kStart = plugin_lines::lines::kSerialNumberUnusable;
  if (!text.starts_with(kStart) || !text.ends_with(']')) {
    return std::nullopt;
  }
  return std::string(text.substr(kStart.size(), text.size() - kStart.size() - 1));
}

std::optional<std::string> RunningVersionIn(std::string_view text) {
  if (!text.starts_with(plugin_lines::lines::kVersionsDiffer)) {
    return std::nullopt;
  }
  text.remove_prefix(plugin_lines::lines::kVersionsDiffer.size());
  const auto running = TakeUpTo(plugin_lines::parts::kOfferedVersion, &text);
  return running ? std::optional<std::string>(*running) : std::nullopt;
}

}  // namespace

void FitWatch::Write(const refhost::TraceRecord& record) {
  if (record.level == CTraceUtility::TRACE_DBG_INFO) {
    if (auto machine = MachineIn(record.text)) {
      ofOtherModel_ = machine;
    }
    if (auto running = RunningVersionIn(record.text)) {
      ofOtherVersion_ = running;
    }
  } else if (record.level == CTraceUtility::TRACE_DBG_ERROR) {
    if (auto serialNumber = SerialNumberIn(record.text)) {
      serialWithoutModel_ = serialNumber;
    }
    comparedNothing_ |= record.text == plugin_lines::lines::kNotCompared;
  }
}

}  // namespace orvhost
