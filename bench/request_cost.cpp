// What one IPMI request costs through the plug-in and the reference host, against the same command line run by sh.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "firmware/kestrel_firmware.h"
#include "refhost/settings.h"
#include "refhost/trace_sink.h"

namespace {

constexpr int kRounds = 400;

// Writes every line as the driver does with --log-file: one write for each.
class FileSink : public refhost::TraceSink {
 public:
  explicit FileSink(const std::filesystem::path& path) : file_(path, std::ios::app) {}
  void Write(const refhost::TraceRecord& record) override { file_ << refhost::FormatTraceLine(record) << std::flush; }

 private:
  std::ofstream file_;
};

void Ask(const std::string& tool) {
  std::list<std::string> response;
  if (!CBMC_KESTREL_Firmware::ExecIPMICommand_list(tool, &response, {"06", "01"})) {
    std::fprintf(stderr, "a request through %s failed\n", tool.c_str());
    std::exit(1);
  }
}

void CompareBothTools(const std::filesystem::path& tools, const std::filesystem::path& folder,
                      const std::string& host) {
  const std::string output = (folder / "bare").string();
  const std::string ipmitool = (tools / "ipmitool").string();
  bench::PrintRow("one request through ipmitool, " + host,
                  bench::Compare(
                      kRounds, [&] { bench::RunBare("\"" + ipmitool + "\" raw 0x06 0x01 > \"" + output + "\""); },
                      [&] { Ask(ipmitool); }));
  const std::string makers = (tools / "ipmicmd").string();
  bench::PrintRow(
      "one request through the maker's tool, " + host,
      bench::Compare(
          kRounds, [&] { bench::RunBare("echo 18 01 | env -u LD_PRELOAD \"" + makers + "\" > \"" + output + "\""); },
          [&] { Ask(makers); }));
}

}  // namespace

int main(int, char** arguments) {
  const std::filesystem::path tools = std::filesystem::canonical(arguments[0]).parent_path() / "stub";
  std::string folder = (std::filesystem::temp_directory_path() / "kestrel-bench-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    std::perror(folder.c_str());
    return 1;
  }
  std::filesystem::create_directories(std::filesystem::path(folder) / "tmp" / "KV6KBMC");
  refhost::Configure({folder, "kv6000", ""});
  FileSink sink(std::filesystem::path(folder) / "trace");
  refhost::SetTraceSink(&sink);

  bench::PrintHeader();
  char size[64];
  std::snprintf(size, sizeof(size), "host of %.0f MiB", bench::ResidentMiB());
  CompareBothTools(tools, folder, size);
  std::vector<char> ballast(std::size_t{1} << 30);
  std::fill(ballast.begin(), ballast.end(), 1);
  std::snprintf(size, sizeof(size), "host of %.0f MiB", bench::ResidentMiB());
  CompareBothTools(tools, folder, size);

  refhost::SetTraceSink(nullptr);
  std::filesystem::remove_all(folder);
  return 0;
}
