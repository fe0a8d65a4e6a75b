#include "ipmi/scratch_directory.h"

#include "host/DllCommon.h"

namespace kestrel {

namespace {

std::string Parent() {
  return CFileUtility::GetInstallPath(0) + "/" + "tmp";
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
