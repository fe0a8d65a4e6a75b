#include "bench/bench_host.h"

#include <fcntl.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "refhost/settings.h"

namespace bench {

TraceFile::TraceFile(const std::string& path)
    : file_(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600)) {
  if (!file_.IsOpen()) {
    std::perror(path.c_str());
    std::exit(1);
  }
}

void TraceFile::Write(const refhost::TraceRecord& record) {
  const std::string line = refhost::FormatTraceLine(record);
  (void)posix::WriteAll(file_.Get(), line.data(), line.size());
}

BenchHost::BenchHost() : folder_((std::filesystem::temp_directory_path() / "kestrel-bench-XXXXXX").string()) {
  if (mkdtemp(folder_.data()) == nullptr) {
    std::perror(folder_.c_str());
    std::exit(1);
  }
  std::filesystem::create_directories(folder_ + "/tmp/KV6KBMC");
  refhost::Configure({folder_, "kv6000rt", ""});
}

BenchHost::~BenchHost() {
  std::error_code error;
  std::filesystem::remove_all(folder_, error);
}

}  // namespace bench
