// A management library for the tests: a real shared library that answers as the script says. Built several times, with
// entry points left out (LACKS_...).
#include <list>
#include <stdexcept>

#include "host/ManagementInterface.h"
#include "tests/support/scripted_management_library.h"

namespace {

ScriptedManagementLibrary* script = nullptr;

// Its code is gone when the library is unloaded.
struct OwnException {
  virtual ~OwnException() { script->note("~OwnException"); }
};

void Enter(const char* operation) {
  script->note(operation);
}

void Leave(const char* operation) {
  if (script->throwsFrom != operation) {
    return;
  }
  if (script->throwsOwnClass) {
    throw OwnException();
  }
  throw std::runtime_error("no such disk");
}

class Interface final : public host::ManagementInterface {
 public:
  ~Interface() = default;

  void Position1() override { script->note("Position1"); }
  void Position2() override { script->note("Position2"); }
  void Position3() override { script->note("Position3"); }
  bool GetRAIDInfo(std::list<CItemDisp*>* items, std::string* errorCode, std::string* warningCode) override {
    Enter("GetRAIDInfo");
    items->push_back(nullptr);
    *errorCode = script->errorCode;
    *warningCode = script->warningCode;
    Leave("GetRAIDInfo");
    return script->succeeds;
  }
  void Position5() override { script->note("Position5"); }
  void Position6() override { script->note("Position6"); }
  void Position7() override { script->note("Position7"); }
  bool GetHddInfoToSVP(std::string* info, std::string* errorCode, std::string* warningCode) override {
    Enter("GetHddInfoToSVP");
    *info = script->info;
    *errorCode = script->errorCode;
    *warningCode = script->warningCode;
    Leave("GetHddInfoToSVP");
    return script->succeeds;
  }
  void Position9() override { script->note("Position9"); }
  void ExecFreeItemList(std::list<CItemDisp*>* items) override {
    Enter("ExecFreeItemList");
    items->clear();
    Leave("ExecFreeItemList");
  }
};

// They are gone when the library is unloaded, as their code is.
std::list<Interface> objects;

}  // namespace

extern "C" {

void PlayScript(ScriptedManagementLibrary* played) {
  script = played;
}

#ifndef LACKS_CREATE_LIB_IF
host::ManagementInterface* CreateLibIF() {
  Enter("CreateLibIF");
  Leave("CreateLibIF");
  return script->hasInterface ? &objects.emplace_back() : nullptr;
}
#endif

#ifndef LACKS_DELETE_LIB_IF
void DeleteLibIF(host::ManagementInterface* interface) {
  const auto isReleased = [interface](const Interface& object) { return &object == interface; };
  Enter(std::erase_if(objects, isReleased) == 1 ? "DeleteLibIF" : "DeleteLibIF of an object that is not its own");
  Leave("DeleteLibIF");
}
#endif

#ifndef LACKS_CREATE_ITEM_DISP
void CreateItemDisp() {
  script->note("CreateItemDisp");
}
#endif

#ifndef LACKS_DELETE_ITEM_DISP
void DeleteItemDisp() {
  script->note("DeleteItemDisp");
}
#endif

}  // extern "C"
