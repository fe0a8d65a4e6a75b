// The host that the benchmarks run in: a temporary installation, and a trace file written as the tool writes it.
#ifndef BENCH_BENCH_HOST_H
#define BENCH_BENCH_HOST_H

#include <string>

#include "posix/file_descriptor.h"
#include "refhost/trace_sink.h"

namespace bench {

// Writes all lines, each with one write.
class TraceFile : public refhost::TraceSink {
 public:
  // Appends to the file `path`. Ends this program when it cannot be opened.
  explicit TraceFile(const std::string& path);
  void Write(const refhost::TraceRecord& record) override;

 private:
  posix::FileDescriptor file_;
};

// Host of the server type "kv6000rt" as long as it lives; its folder goes with it.
class BenchHost {
 public:
  BenchHost();
  ~BenchHost();

  BenchHost(const BenchHost&) = delete;
  BenchHost& operator=(const BenchHost&) = delete;

  [[nodiscard]] const std::string& Folder() const { return folder_; }
  [[nodiscard]] std::string TraceFilePath() const { return folder_ + "/trace"; }

 private:
  std::string folder_;
};

}  // namespace bench

#endif  // BENCH_BENCH_HOST_H
