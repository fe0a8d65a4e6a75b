#include "orvhost/trace/line_sink.h"

#include <fcntl.h>

#include "orvhost/interface/printable.h"
#include "posix/last_error.h"

namespace orvhost {

namespace {

constexpr mode_t kLogMode = 0640;

}  // namespace

std::unique_ptr<LineSink> LineSink::OpenFile(const std::string& path, std::string* error) {
  posix::FileDescriptor file(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kLogMode));
  if (file.IsOpen()) {
    return std::unique_ptr<LineSink>(new LineSink(std::move(file), refhost::kAllTraceLevels, Reader::kProgram));
  }
  *error = "cannot open the log file " + path + ": " + posix::LastError();
  return nullptr;
}

void LineSink::Write(const refhost::TraceRecord& record) {
  if (record.level != 0 && (record.level & levels_) == 0) {
    return;
  }
  std::string line = refhost::FormatTraceLine(record);
  if (reader_ == Reader::kPerson) {
    line.pop_back();
    line = Escaped(line) + "\n";
  }
  (void)posix::WriteAll(descriptor_.Get(), line.data(), line.size());  // a trace that cannot be written stops nothing
}

void TeeSink::Write(const refhost::TraceRecord& record) {
  for (const auto& sink : sinks_) {
    sink->Write(record);
  }
}

}  // namespace orvhost
