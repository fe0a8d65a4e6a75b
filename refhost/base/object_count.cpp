#include "refhost/base/object_count.h"

#include <atomic>

#include "refhost/live_objects.h"

namespace refhost {

namespace {

std::atomic<long> vendors = 0;
std::atomic<long> modules = 0;

}  // namespace

void CountVendors(long more) {
  vendors += more;
}

void CountModules(long more) {
  modules += more;
}

LiveObjects CountLiveObjects() {
  return {vendors, modules};
}

}  // namespace refhost
