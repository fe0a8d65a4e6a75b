#include "provider/entry_points.h"

#include "host/DllCommon.h"
#include "provider/kestrel_vendor.h"

CVendor* GetVendorFactory(const char* className, const char* provider) {
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

void ReleaseVendor(CVendor* vendor) {
  if (vendor != nullptr && vendor->GetVendorClassName() == CBMC_KESTREL_Vendor::className) {
    delete vendor;
  }
}
