// What it costs to load the plug-in, make its vendor object and link the device, against a plug-in that does nothing.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "bench/rows.h"
#include "bench/table.h"

namespace bench {

namespace {

struct Load {
  Cost cost;
  double residentKiB = 0;
};

// Each load in a process of its own: a second one in the same process would find most of the work done.
Load LoadOnce(const char* library, const std::string& installPath) {
  const std::string command = std::string("\"" LOADER "\" \"") + library + "\" \"" + installPath + "\"";
  Load load;
  std::FILE* output = popen(command.c_str(), "r");
  const bool read =
      output != nullptr && std::fscanf(output, "%lf %lf %lf", &load.cost.wall, &load.cost.cpu, &load.residentKiB) == 3;
  if (!read || pclose(output) != 0) {
    std::fprintf(stderr, "cannot run: %s\n", command.c_str());
    std::exit(1);
  }
  return load;
}

}  // namespace

void LibraryLoad(const BenchHost& host) {
  std::vector<double> bareKiB;
  std::vector<double> ourKiB;
  const Comparison comparison = Compare([&]() -> Pass {
    const Load bare = LoadOnce(EMPTY_PLUGIN, host.Folder());
    const Load ours = LoadOnce(PLUGIN, host.Folder());
    bareKiB.push_back(bare.residentKiB);
    ourKiB.push_back(ours.residentKiB);
    return {bare.cost, bare.cost, ours.cost};
  });
  PrintRow("library load to LinkDevice", comparison, 1);
  std::printf("Resident memory that loading adds: %.0f KiB; an empty plug-in: %.0f KiB\n", Median(ourKiB),
              Median(bareKiB));
}

}  // namespace bench
