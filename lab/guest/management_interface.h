// The interface of the maker's management library as its users see it: entry points by name, operations by their
// position in the virtual table.
#ifndef LAB_GUEST_MANAGEMENT_INTERFACE_H
#define LAB_GUEST_MANAGEMENT_INTERFACE_H

#include <list>
#include <string>

class CItemDisp;

namespace kv6000 {

// The lab plays three operations; the others stand for positions. A virtual destructor would take two positions.
class ManagementInterface {
 public:
  virtual void Position1() = 0;
  virtual void Position2() = 0;
  virtual void Position3() = 0;

  // Fourth. True on success, which may come with a warning code.
  virtual bool GetRaidInfo(std::list<CItemDisp*>* items, std::string* errorCode, std::string* warningCode) = 0;

  virtual void Position5() = 0;
  virtual void Position6() = 0;
  virtual void Position7() = 0;

  // Eighth. The disks' record as pairs of hexadecimal digits.
  virtual bool GetDiskInfo(std::string* info, std::string* errorCode, std::string* warningCode) = 0;

  virtual void Position9() = 0;

  // Tenth. Releases what GetRaidInfo() put into the list.
  virtual void FreeItems(std::list<CItemDisp*>* items) = 0;

 protected:
  ~ManagementInterface() = default;
};

}  // namespace kv6000

#endif  // LAB_GUEST_MANAGEMENT_INTERFACE_H
