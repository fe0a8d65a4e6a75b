#include "svp/management_library.h"

#include <dlfcn.h>

#include <exception>

#include "host/Results.h"
#include "ipmi/trace.h"

namespace management_entry = host::management_entry;
using kestrel::kChannel;
using kestrel::kError;
using kestrel::OperationTrace;

namespace {

// Why the last call of the dynamic loader failed; "" when it has nothing to say, as after a later call that succeeded.
std::string LoaderError() {
  const char* text = dlerror();
  return text == nullptr ? "" : text;
}

template <typename Entry>
Entry FindEntry(void* library, const char* name) {
  return reinterpret_cast<Entry>(dlsym(library, name));
}

// Makes one call into the library; what it throws ends here, while its code is still loaded.
template <typename Call>
void Guarded(const char* operation, Call call) {
  try {
    call();
  } catch (const std::exception& exception) {
    CTraceUtility::WriteDebug(kChannel, kError, "MngSrv_OrvLib API(%s) threw an exception. %s", operation,
                              exception.what());
  } catch (...) {
    CTraceUtility::WriteDebug(kChannel, kError, "MngSrv_OrvLib API(%s) threw an unknown exception.", operation);
  }
}

}  // namespace

CBMC_MngLib::CBMC_MngLib() {
  const OperationTrace trace("CBMC_MngLib::CBMC_MngLib [START]", "CBMC_MngLib::CBMC_MngLib [END]");
  if (Load() != 0) {
    CTraceUtility::WriteDebug(kChannel, kError, "CBMC_MngLib::CBMC_MngLib() Error End.");
    Unload();
    throw false;
  }
  Guarded("CreateLibIF", [this] { interface_ = createLibIf_(); });
  if (interface_ == nullptr) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to initialize OrvLibIF.");
    Unload();
    throw false;
  }
}

CBMC_MngLib::~CBMC_MngLib() {
  const OperationTrace trace("CBMC_MngLib::~CBMC_MngLib [START]", "CBMC_MngLib::~CBMC_MngLib [END]");
  if (interface_ != nullptr) {
    Guarded("DeleteLibIF", [this] { deleteLibIf_(interface_); });
    interface_ = nullptr;
  }
  Unload();
}

int CBMC_MngLib::Load() {
  const OperationTrace trace("CBMC_MngLib::Load [START]", "CBMC_MngLib::Load [END]");
  const std::string path = CFileUtility::GetInstallPath(host::kManagementLibraries) + "/" + "liborv_MngSrv_OrvLib.so";
  handle_ = dlopen(path.c_str(), RTLD_LAZY);
  if (handle_ == nullptr) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to load MngSrv_OrvLib Library(%s).", LoaderError().c_str());
    return 1;
  }
  createLibIf_ = FindEntry<management_entry::CreateLibIF>(handle_, "CreateLibIF");
  deleteLibIf_ = FindEntry<management_entry::DeleteLibIF>(handle_, "DeleteLibIF");
  createItemDisp_ = FindEntry<management_entry::CreateItemDisp>(handle_, "CreateItemDisp");
  deleteItemDisp_ = FindEntry<management_entry::DeleteItemDisp>(handle_, "DeleteItemDisp");
  if (createLibIf_ == nullptr || deleteLibIf_ == nullptr || createItemDisp_ == nullptr || deleteItemDisp_ == nullptr) {
    // The blank before the full stop tells this failure from the other one.
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to load MngSrv_OrvLib Library(%s) .", LoaderError().c_str());
    return 1;
  }
  return 0;
}

void CBMC_MngLib::Unload() {
  const OperationTrace trace("CBMC_MngLib::Unload [START]", "CBMC_MngLib::Unload [END]");
  if (handle_ != nullptr && dlclose(handle_) != 0) {
    // The host's error number, not the loader's text; readers of the trace know it so.
    CTraceUtility::WriteDebug(kChannel, kError, "Unload Library is FAILED (Error=%08x).",
                              static_cast<unsigned int>(GetLastError()));
  }
}

bool CBMC_MngLib::GetHddInfoToSVP(std::string* info, std::string* errCode, std::string* wrnCode) {
  const OperationTrace trace("CBMC_MngLib::GetHddInfoToSVP [START]", "CBMC_MngLib::GetHddInfoToSVP [END]");
  bool succeeded = false;
  Guarded("GetHddInfoToSVP", [&] { succeeded = interface_->GetHddInfoToSVP(info, errCode, wrnCode); });
  return succeeded;
}

int CBMC_MngLib::GetRAIDInfo(std::list<CItemDisp*>* items) {
  const OperationTrace trace("CBMC_MngLib::GetRAIDInfo [START]", "CBMC_MngLib::GetRAIDInfo [END]");
  std::string errorCode;
  std::string warningCode;
  bool succeeded = false;
  Guarded("GetRAIDInfo", [&] { succeeded = interface_->GetRAIDInfo(items, &errorCode, &warningCode); });
  if (!succeeded) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to execute MngSrv_OrvLib API(GetRAIDInfo). ErrorCode=%s",
                              errorCode.c_str());
    return 1;
  }
  if (warningCode == "01") {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to execute MngSrv_OrvLib API(GetRAIDInfo). WarningCode=%s",
                              warningCode.c_str());
    return 2;
  }
  return 0;
}

void CBMC_MngLib::ExecFreeItemList(std::list<CItemDisp*>* items) {
  const OperationTrace trace("CBMC_MngLib::ExecFreeItemList [START]", "CBMC_MngLib::ExecFreeItemList [END]");
  Guarded("ExecFreeItemList", [&] { interface_->ExecFreeItemList(items); });
}
