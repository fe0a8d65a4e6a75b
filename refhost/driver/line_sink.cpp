#include "refhost/driver/line_sink.h"

#include <fcntl.h>

#include <system_error>

namespace refhost {
namespace {

constexpr mode_t kLogMode = 0640;

}  // namespace

std::unique_ptr<LineSink> LineSink::OpenFile(const std::string& path, std::string* error) {
  FileDescriptor file(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kLogMode));
  if (file.IsOpen()) return std::make_unique<LineSink>(std::move(file), kAllTraceLevels);
  *error = "cannot open the log file " + path + ": " + std::generic_category().message(errno);
  return nullptr;
}

void LineSink::Write(const TraceRecord& record) {
  if (record.level != 0 && (record.level & levels_) == 0) return;
  const std::string line = FormatTraceLine(record);
  WriteAll(descriptor_.Get(), line.data(), line.size());
}

void TeeSink::Write(const TraceRecord& record) {
  for (const auto& sink : sinks_) sink->Write(record);
}

}  // namespace refhost
