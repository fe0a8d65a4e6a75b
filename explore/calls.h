// What the calls of the C library have in common that this program answers itself.
#ifndef EXPLORE_CALLS_H
#define EXPLORE_CALLS_H

#include <dlfcn.h>

#include <string_view>

#include "explore/outside.h"
#include "explore/stage.h"

namespace explore {

// Where a file of the simulated machine is looked for; `folder` is null for a call that goes to the system.
struct Way {
  FilePointer folder;
  const char* path = nullptr;
  [[nodiscard]] explicit operator bool() const { return folder != nullptr; }
};

// Of an absolute path, or of one from a folder that is open.
[[nodiscard]] Way WayTo(const char* path);
[[nodiscard]] Way WayFrom(int folder, const char* path);

// The event comes. True, with errno, when its fault makes the call fail; `stores`: it needs room on the disk.
bool Fails(EventKind kind, std::string_view what, bool stores, std::string_view more = "");

// The call of the C library itself.
template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// As open() on the stage, with its event; null with errno.
[[nodiscard]] std::shared_ptr<OpenFile> OpenOnStage(const Way& way, int flags, mode_t mode);

// As write() on the stage.
ssize_t WriteOnStage(OpenFile& open, const void* bytes, std::size_t size);

}  // namespace explore

#endif  // EXPLORE_CALLS_H
