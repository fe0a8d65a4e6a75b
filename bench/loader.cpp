// Loads one plug-in in a fresh host, which discards the trace, and prints what that cost: microseconds of wall and
// processor time, and KiB of resident memory.
//
//   kestrel_bench_loader LIBRARY INSTALL_PATH
#include <dlfcn.h>

#include <cstdio>

#include "bench/measure.h"
#include "host/DllCommon.h"
#include "host/EntryPoints.h"
#include "refhost/settings.h"
#include "refhost/trace_sink.h"

namespace {

class NoTrace : public refhost::TraceSink {
 public:
  void Write(const refhost::TraceRecord& /*record*/) override {}
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    return 2;
  }
  refhost::Configure({arguments[2], "kv6000rt", ""});
  NoTrace trace;
  refhost::SetTraceSink(&trace);
  // A host has written lines of its own by then.
  CTraceUtility::WriteDebug("bench", CTraceUtility::TRACE_DBG_INFO, "%s", arguments[1]);
  const double residentBefore = bench::ResidentKiB();
  const bench::Cost start = bench::Now();
  void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  const auto factory = reinterpret_cast<host::VendorFactory>(dlsym(library, "GetVendorFactory"));
  if (factory == nullptr) {
    return 1;
  }
  CVendor* vendor = factory("CBMC_KESTREL_Vendor", "bench");
  if (vendor != nullptr) {  // the empty plug-in has none
    vendor->LinkDevice();
  }
  const bench::Cost cost = bench::Now() - start;
  std::printf("%.1f %.1f %.0f\n", cost.wall, cost.cpu, bench::ResidentKiB() - residentBefore);
  refhost::SetTraceSink(nullptr);
  return 0;
}
