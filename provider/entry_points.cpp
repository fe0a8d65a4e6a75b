// The two functions that the library exports, and nothing else.
#include "host/DllCommon.h"
#include "host/EntryPoints.h"
#include "provider/kestrel_vendor.h"

extern "C" CVendor* GetVendorFactory(const char* className, const char* provider) {
  ShowMessage(L"WINAPI GetVendorFactory", className);
  if (className == nullptr || provider == nullptr) {
    ShowMessage(L"GetFactory NULL");
    return nullptr;
  }
  if (CBMC_KESTREL_Vendor::className != className) {
    return nullptr;
  }
  ShowMessage(L"new CBMC_KESTREL_Vendor", provider);
  return new CBMC_KESTREL_Vendor(provider);
}

extern "C" void ReleaseVendor(CVendor* vendor) {
  if (vendor != nullptr && vendor->GetVendorClassName() == CBMC_KESTREL_Vendor::className) {
    delete vendor;
  }
}
