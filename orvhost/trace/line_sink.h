// Writes the trace as lines to a file or to the standard error, each with one write(2), so that lines of this process
// and of its children never mix. And a sink that hands every record on to several others.
#ifndef ORVHOST_TRACE_LINE_SINK_H
#define ORVHOST_TRACE_LINE_SINK_H

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "posix/file_descriptor.h"
#include "refhost/trace_sink.h"

namespace orvhost {

class LineSink : public refhost::TraceSink {
 public:
  // Appends all records to the file `path`. Null, with the reason in `*error`, when it cannot be opened. `onFailure`
  // hears once, with the reason, when a record could not be written; the others are tried all the same.
  [[nodiscard]] static std::unique_ptr<LineSink> OpenFile(const std::string& path, std::string* error,
                                                          std::function<void(const std::string&)> onFailure = {});

  // Writes to `descriptor`, which a person reads, the records for operators and the lines whose level is in `levels`.
  LineSink(posix::FileDescriptor descriptor, int levels) : LineSink(std::move(descriptor), levels, Reader::kPerson) {}

  void Write(const refhost::TraceRecord& record) override;

 private:
  enum class Reader { kPerson, kProgram };

  LineSink(posix::FileDescriptor descriptor, int levels, Reader reader)
      : descriptor_(std::move(descriptor)), levels_(levels), reader_(reader) {}

  posix::FileDescriptor descriptor_;
  int levels_;
  Reader reader_;
  std::function<void(const std::string&)> onFailure_;  // empty when it was called
};

class TeeSink : public refhost::TraceSink {
 public:
  void Add(std::unique_ptr<refhost::TraceSink> sink) { sinks_.push_back(std::move(sink)); }
  void Write(const refhost::TraceRecord& record) override;

 private:
  std::vector<std::unique_ptr<refhost::TraceSink>> sinks_;
};

}  // namespace orvhost

#endif  // ORVHOST_TRACE_LINE_SINK_H
