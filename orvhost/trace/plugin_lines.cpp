#include "orvhost/trace/plugin_lines.h"

#include "host/DllCommon.h"

namespace orvhost::plugin_lines {

namespace {

// What stands between `start`, with which the line must begin, and the last `end`; nothing in another line.
std::optional<std::string_view> Between(std::string_view start, std::string_view end, std::string_view line) {
  const std::size_t stop = line.rfind(end);
  if (!line.starts_with(start) || stop == std::string_view::npos || stop < start.size()) {
    return std::nullopt;
  }
  return line.substr(start.size(), stop - start.size());
}

}  // namespace

bool RunsTheScript(std::string_view command) {
  const std::size_t script = command.find(commands::kScript);
  return script != std::string_view::npos &&
         command.substr(script + commands::kScript.size()).starts_with(commands::kScriptAnswers);
}

std::optional<FlashStart> FlashStartIn(std::string_view line) {
  if (line.starts_with(lines::kFlashToolStarts)) {
    return FlashStart{.command = line.substr(lines::kFlashToolStarts.size()), .isScript = false};
  }
  const auto command = Between("[", "]", line);
  if (command && RunsTheScript(*command)) {
    return FlashStart{.command = *command, .isScript = true};
  }
  return std::nullopt;
}

bool WritesTheFlash(std::string_view command) {
  return command.find(commands::kFlashTool) != std::string_view::npos || RunsTheScript(command);
}

std::optional<std::string_view> CommandIn(std::string_view line) {
  if (const auto flash = FlashStartIn(line)) {
    return flash->command;
  }
  if (const auto request = Between(lines::kRequestStarts, "]", line)) {
    return request;
  }
  if (const auto ended = Between(lines::kCommandEnded, parts::kCommandResult, line)) {
    return ended;
  }
  // The plug-in writes other texts in brackets too, so only a command that it is known to run counts.
  const auto prepares = Between("[", "]", line);
  return prepares && prepares->starts_with(commands::kScriptPreparation) ? prepares : std::nullopt;
}

bool IsGoingDown(std::string_view line) {
  return line.starts_with(lines::kMachineHalts) || line.starts_with(lines::kMachineRestarts);
}

bool IsFailure(int level, std::string_view line) {
  return level == CTraceUtility::TRACE_DBG_ERROR || level == CTraceUtility::TRACE_DBG_RETRY ||
         line.starts_with(lines::kFailed);
}

}  // namespace orvhost::plugin_lines
