#include "ipmi/scratch_directory.h"

#include "host/DllCommon.h"
#include "host/Results.h"

namespace kestrel {

namespace {

std::string Parent() {
  return CFileUtility::GetInstallPath(host::kInstallation) + "/" + "tmp";
}

}  // namespace

std::string ScratchDirectory() {
  return Parent() + "/" + "KV6KBMC";
}

void MakeScratchDirectory() {
  _mkdir(Parent().c_str());
  _mkdir(ScratchDirectory().c_str());
}

}  // namespace kestrel
