// The two functions by which a host reaches a plug-in. They are all that a plug-in exports; a host finds them by their
// names, which are unmangled, with dlsym. A plug-in defines them with extern "C", so that its compiler compares them
// with these, and is linked with a version script, so that nothing else is seen.
#ifndef HOST_ENTRY_POINTS_H
#define HOST_ENTRY_POINTS_H

#include "host/ProviderBase.h"

extern "C" {
#pragma GCC visibility push(default)

// A new vendor object of the class `className`, the host's until it hands it back to ReleaseVendor, and not yet linked
// to its device; null for a class that the plug-in does not have and when either text is null. `provider` is the host's
// own text for the object. Both texts are copied.
CVendor* GetVendorFactory(const char* className, const char* provider);

// Deletes a vendor object that GetVendorFactory made, and with it its firmware handler; null and vendor objects of
// other classes are left alone.
void ReleaseVendor(CVendor* vendor);

#pragma GCC visibility pop
}  // extern "C"

namespace host {

// What dlsym finds under the names of the two.
using VendorFactory = decltype(&GetVendorFactory);
using VendorReleaser = decltype(&ReleaseVendor);

}  // namespace host

#endif  // HOST_ENTRY_POINTS_H
