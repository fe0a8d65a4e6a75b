// The maker's management-server library, loaded at run time: it knows the disks and RAID arrays, which IPMI does not.
#ifndef SVP_MANAGEMENT_LIBRARY_H
#define SVP_MANAGEMENT_LIBRARY_H

#include <list>
#include <string>

#include "host/ManagementInterface.h"

// Holds the library open, with one interface object of it, as long as it lives. To be used by one caller at a time.
//
// Nothing that the library throws gets past this class: the exception's own code may be unloaded with the library
// before its last holder looks at it. It is traced, and the call counts as one that failed.
class CBMC_MngLib {
 public:
  // Throws a `bool` of value false when the library cannot be loaded, lacks an entry point or gives no interface
  // object; nothing stays loaded then.
  CBMC_MngLib();

  // Releases the interface object, then the library.
  virtual ~CBMC_MngLib();

  CBMC_MngLib(const CBMC_MngLib&) = delete;
  CBMC_MngLib& operator=(const CBMC_MngLib&) = delete;

  // Opens the library and looks its entry points up: 0, or 1 when something is missing; the library may then be open
  // nevertheless, until Unload(). For the constructor.
  int Load();

  // Closes the library if it is open. To be called once: the handle is not forgotten.
  void Unload();

  // The disk information record as pairs of hexadecimal digits, an error code and a warning code, as the library gives
  // them. False when it reports a failure; the texts are then as it has left them.
  bool GetHddInfoToSVP(std::string* info, std::string* errCode, std::string* wrnCode);

  // Fills `items`: 0; 1 when the call failed; 2 when it succeeded with the warning "01". Filled or not, `items` is to
  // be released by ExecFreeItemList().
  int GetRAIDInfo(std::list<CItemDisp*>* items);
  void ExecFreeItemList(std::list<CItemDisp*>* items);

 private:
  void* handle_ = nullptr;
  host::ManagementInterface* interface_ = nullptr;
  host::management_entry::CreateLibIF createLibIf_ = nullptr;
  host::management_entry::DeleteLibIF deleteLibIf_ = nullptr;
  host::management_entry::CreateItemDisp createItemDisp_ = nullptr;
  host::management_entry::DeleteItemDisp deleteItemDisp_ = nullptr;
};

#endif  // SVP_MANAGEMENT_LIBRARY_H
