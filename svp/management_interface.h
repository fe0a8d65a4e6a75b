// The interface object of the management library as this plug-in sees it. The library is someone else's and closed: all
// that is known of the object is which virtual operation stands at which position of its virtual table, so the order
// below is binary interface. The classes are never defined here.
#ifndef SVP_MANAGEMENT_INTERFACE_H
#define SVP_MANAGEMENT_INTERFACE_H

#include <list>
#include <string>

class CItemDisp;

namespace kestrel {

// Made by the library's CreateLibIF and released by its DeleteLibIF only. A position is one entry of the virtual table,
// the first entry being the first; no destructor is among them, since a virtual one would take two entries and move
// every operation behind it.
class ManagementInterface {
 public:
  virtual void Position1() = 0;
  virtual void Position2() = 0;
  virtual void Position3() = 0;

  // Fourth. Fills `items`, which are released by ExecFreeItemList; true when the call succeeded, which it also does
  // with a warning. `errorCode` and `warningCode` receive texts such as "01".
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

}  // namespace kestrel

#endif  // SVP_MANAGEMENT_INTERFACE_H
