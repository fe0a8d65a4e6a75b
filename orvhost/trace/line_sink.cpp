#include "orvhost/trace/line_sink.h"

#include <fcntl.h>

#include <utility>

#include "orvhost/interface/printable.h"
#include "posix/last_error.h"

namespace orvhost {

namespace {

constexpr mode_t kLogMode = 0640;

}  // namespace

std::unique_ptr<LineSink> LineSink::OpenFile(const std::string& path, std::string* error,
                                             std::function<void(const std::string&)> onFailure) {
  // A pipe that nobody reads is not waited for.
  posix::FileDescriptor file(
      open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kLogMode));
  if (file.IsOpen()) {
    auto sink = std::unique_ptr<LineSink>(new LineSink(std::move(file), refhost::kAllTraceLevels, Reader::kProgram));
    sink->onFailure_ = std::move(onFailure);
    return sink;
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
  // A trace that cannot be written stops nothing.
  if (!posix::WriteAll(descriptor_.Get(), line.data(), line.size()) && onFailure_) {
    std::exchange(onFailure_, {})(posix::LastError());
  }
}

void TeeSink::Write(const refhost::TraceRecord& record) {
  for (const auto& sink : sinks_) {
    sink->Write(record);
  }
}

}  // namespace orvhost
