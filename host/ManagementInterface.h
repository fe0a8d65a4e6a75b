// The binary interface of the maker's management library, liborv_MngSrv_OrvLib.so in the host's folder of such
// libraries. The library is someone else's and closed: all that is known are the names of its entry points and which
// virtual operation stands at which position, so the order below is binary interface. Nothing here is defined outside
// the library.
#ifndef HOST_MANAGEMENT_INTERFACE_H
#define HOST_MANAGEMENT_INTERFACE_H

#include <list>
#include <string>

// One entry of the library's list of RAID arrays; users only pass it around.
class CItemDisp;

namespace host {

// Made by the library's CreateLibIF and released by its DeleteLibIF only. A position is one entry of the virtual table,
// the first entry being the first; no destructor is among them, since a virtual one would take two entries and move
// every operation behind it. The operations without a name of their own only stand for their positions.
//
// `errorCode` and `warningCode` receive texts such as "01". A call that succeeds may do so with a warning.
class ManagementInterface {
 public:
  virtual void Position1() = 0;
  virtual void Position2() = 0;
  virtual void Position3() = 0;

  // Fourth. Fills `items`, which are released by ExecFreeItemList; true on success.
  virtual bool GetRAIDInfo(std::list<CItemDisp*>* items, std::string* errorCode, std::string* warningCode) = 0;

  virtual void Position5() = 0;
  virtual void Position6() = 0;
  virtual void Position7() = 0;

  // Eighth. The disk information record as pairs of hexadecimal digits in `info`; true on success.
  virtual bool GetHddInfoToSVP(std::string* info, std::string* errorCode, std::string* warningCode) = 0;

  virtual void Position9() = 0;

  // Tenth. Releases what GetRAIDInfo filled in.
  virtual void ExecFreeItemList(std::list<CItemDisp*>* items) = 0;

 protected:
  ~ManagementInterface() = default;
};

// The entry points, found by these names with C linkage.
namespace management_entry {

using CreateLibIF = ManagementInterface* (*)();  // null when it cannot be made
using DeleteLibIF = void (*)(ManagementInterface*);

// These two have to be there and are never called, so their types do not matter.
using CreateItemDisp = void (*)();
using DeleteItemDisp = void (*)();

}  // namespace management_entry

}  // namespace host

#endif  // HOST_MANAGEMENT_INTERFACE_H
