// The two functions that the library exports, and nothing else.
#ifndef PROVIDER_ENTRY_POINTS_H
#define PROVIDER_ENTRY_POINTS_H

#include "host/ProviderBase.h"

extern "C" {
#pragma GCC visibility push(default)

// A new vendor object for the class name "CBMC_KESTREL_Vendor", which the caller hands back to ReleaseVendor; null for
// any other class name and when either text is null. `provider` is the host's own text for the object.
CVendor* GetVendorFactory(const char* className, const char* provider);

// Deletes a vendor object that GetVendorFactory made; null and vendor objects of other classes are left alone.
void ReleaseVendor(CVendor* vendor);

#pragma GCC visibility pop
}  // extern "C"

#endif  // PROVIDER_ENTRY_POINTS_H
