#include "orvhost/run/lock_note.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "posix/regular_file.h"
#include "posix/replace_file.h"

namespace orvhost {

namespace {

using nlohmann::json;

constexpr int kNoteSchema = 1;
constexpr mode_t kNoteMode = 0600;
constexpr std::size_t kLongestNote = 16384;  // a path may have 4096 bytes, each of them escaped

LockNote NoteFrom(const json& value) {
  LockNote note;
  if (value.at("schema") != kNoteSchema || !value.at("pid").is_number_integer()) {
    throw std::runtime_error("not a note");
  }
  value.at("run_id").get_to(note.runId);
  value.at("command").get_to(note.command);
  value.at("install_path").get_to(note.installPath);
  value.at("pid").get_to(note.pid);
  value.at("since").get_to(note.since);
  value.at("ended").get_to(note.ended);
  return note;
}

}  // namespace

FoundNote ReadNote(const std::string& path) {
  const auto text = posix::ReadRegularFile(path, kLongestNote);
  if (!text) {
    return {.note = {}, .isDamaged = errno != ENOENT};
  }
  try {
    return {.note = NoteFrom(json::parse(*text)), .isDamaged = false};
  } catch (const std::exception&) {
    return {.note = {}, .isDamaged = true};
  }
}

void WriteNote(const std::string& path, const LockNote& note) {
  const json document = {
      {"schema", kNoteSchema}, {"run_id", note.runId}, {"command", note.command}, {"install_path", note.installPath},
      {"pid", note.pid},       {"since", note.since},  {"ended", note.ended}};
  std::string ignored;
  if (!posix::ReplaceFile(path, document.dump(-1, ' ', false, json::error_handler_t::replace) + "\n", kNoteMode,
                          &ignored)) {
    unlink(path.c_str());
  }
}

std::string InWords(const LockNote& note) {
  return "run " + note.runId + " under " + note.installPath + " (orvhost " + note.command + ", process " +
         std::to_string(note.pid) + ", since " + note.since + ")";
}

}  // namespace orvhost
