// The maker's management library, played for the virtual server. What it answers stands in the file
// `liborv_MngSrv_OrvLib.answer` beside it (see docs/lab.md); without that file every text is empty and no call fails.
// The build renames an entry point to make a library that lacks it.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>

#include "host/ManagementInterface.h"

// What a list of RAID arrays holds; users only pass it around.
class CItemDisp {};

namespace {

constexpr const char* kAnswerFile = "liborv_MngSrv_OrvLib.answer";

// A word and what follows it on each line.
std::map<std::string, std::string> ReadAnswer() {
  std::map<std::string, std::string> answer;
  Dl_info self{};
  if (dladdr(kAnswerFile, &self) == 0) {
    return answer;
  }
  const std::string path = self.dli_fname;
  std::ifstream file(path.substr(0, path.rfind('/') + 1) + kAnswerFile);
  for (std::string line; std::getline(file, line);) {
    const auto blank = line.find(' ');
    answer[line.substr(0, blank)] = blank == std::string::npos ? "" : line.substr(blank + 1);
  }
  return answer;
}

[[noreturn]] void RefusePosition() {
  std::fprintf(stderr, "%s: an operation was called that the lab does not play\n", "liborv_MngSrv_OrvLib.so");
  std::abort();
}

class Library final : public host::ManagementInterface {
 public:
  explicit Library(std::map<std::string, std::string> answer) : answer_(std::move(answer)) {}

  void Position1() override { RefusePosition(); }
  void Position2() override { RefusePosition(); }
  void Position3() override { RefusePosition(); }

  bool GetRAIDInfo(std::list<CItemDisp*>* items, std::string* errorCode, std::string* warningCode) override {
    items->push_back(new CItemDisp);
    return Answer(errorCode, warningCode);
  }

  void Position5() override { RefusePosition(); }
  void Position6() override { RefusePosition(); }
  void Position7() override { RefusePosition(); }

  bool GetHddInfoToSVP(std::string* info, std::string* errorCode, std::string* warningCode) override {
    *info = answer_["info"];
    return Answer(errorCode, warningCode);
  }

  void Position9() override { RefusePosition(); }

  void ExecFreeItemList(std::list<CItemDisp*>* items) override {
    for (const CItemDisp* item : *items) {
      delete item;
    }
    items->clear();
  }

 private:
  bool Answer(std::string* errorCode, std::string* warningCode) {
    if (answer_.contains("throw")) {
      throw std::runtime_error(answer_["throw"]);
    }
    *errorCode = answer_["error"];
    *warningCode = answer_["warning"];
    return !answer_.contains("fail");
  }

  std::map<std::string, std::string> answer_;
};

}  // namespace

#define LIBRARY_ENTRY extern "C" __attribute__((visibility("default")))

LIBRARY_ENTRY host::ManagementInterface* CreateLibIF() {
  auto answer = ReadAnswer();
  return answer.contains("null") ? nullptr : new Library(std::move(answer));
}

LIBRARY_ENTRY void DeleteLibIF(host::ManagementInterface* library) {
  delete static_cast<Library*>(library);
}

LIBRARY_ENTRY CItemDisp* CreateItemDisp() {
  return new CItemDisp;
}

LIBRARY_ENTRY void DeleteItemDisp(const CItemDisp* item) {
  delete item;
}
