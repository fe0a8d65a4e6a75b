#include "explore/calls.h"

#include <fcntl.h>

#include <cerrno>

namespace explore {

namespace {

// The error of a call that a fault hits; 0 for none.
int ErrorOf(FaultKind fault, bool stores) {
  switch (fault) {
    case FaultKind::kMissing:
      return ENOENT;
    case FaultKind::kUnreadable:
    case FaultKind::kRenameFails:
    case FaultKind::kDeleteFails:
    case FaultKind::kDeleteFailsForGood:
      return EACCES;
    case FaultKind::kReadOnly:
      return EROFS;
    case FaultKind::kSyncFails:
      return EIO;
    case FaultKind::kDiskFull:
    case FaultKind::kDiskFullForGood:
      return ENOSPC;
    default:
      return stores && TheStage().DiskIsFull() ? ENOSPC : 0;
  }
}

bool IsLost(std::string_view text) {
  const Outside& outside = TheOutside();
  return (outside.losesStartOfFlash && text.find("\"Execute:") != std::string_view::npos) ||
         (outside.losesEndOfCommands && text.find("\"kind\":\"command_end\"") != std::string_view::npos);
}

// Looking at what processes there are is no event: another answer is another machine.
bool IsNoEvent(std::string_view path) {
  return path.starts_with("/proc") || path == "/dev/console";
}

}  // namespace

Way WayTo(const char* path) {
  return TheStage().IsOn() && path != nullptr && Disk::Has(path) ? Way{TheOutside().disk->TheFiles().Root(), path}
                                                                 : Way{};
}

Way WayFrom(int folder, const char* path) {
  if (path == nullptr || path[0] == '/' || !TheStage().IsOn()) {
    return WayTo(path);
  }
  const OpenFile* open = TheOutside().descriptors[folder];
  return open != nullptr ? Way{open->file, path} : Way{};
}

bool Fails(EventKind kind, std::string_view what, bool stores, std::string_view more) {
  const int error = ErrorOf(TheStage().Meet(kind, what, more), stores);
  errno = error != 0 ? error : errno;
  return error != 0;
}

std::shared_ptr<OpenFile> OpenOnStage(const Way& way, int flags, mode_t mode) {
  Files& files = TheOutside().disk->TheFiles();
  if ((flags & O_DIRECTORY) == 0 && !IsNoEvent(way.path)) {
    const bool stores = (flags & (O_WRONLY | O_RDWR | O_CREAT)) != 0;
    const FaultKind fault = TheStage().Meet(stores ? EventKind::kCreate : EventKind::kRead, way.path);
    if (fault == FaultKind::kEmpty) {  // a file that is not there is not empty
      const auto there = OpenIn(files, way.folder, way.path, flags, mode);
      return there ? std::make_shared<OpenFile>(files.MakeNameless(), flags, way.path) : there;
    }
    if (const int error = ErrorOf(fault, (flags & O_CREAT) != 0); error != 0) {
      errno = error;
      return {};
    }
  }
  return OpenIn(files, way.folder, way.path, flags, mode);
}

ssize_t WriteOnStage(OpenFile& open, const void* bytes, std::size_t size) {
  if (open.failsNext) {
    open.failsNext = false;
    errno = ENOSPC;
    return -1;
  }
  const std::string_view text(static_cast<const char*>(bytes), size);
  const std::int64_t now = TheOutside().disk->TheFiles().now();
  const FaultKind fault = IsNoEvent(open.name) ? FaultKind::kNone : TheStage().Meet(EventKind::kWrite, open.name, text);
  if (fault == FaultKind::kHalfWritten) {
    open.failsNext = true;
    return WriteTo(open, bytes, size / 2, now);
  }
  if (const int error = ErrorOf(fault, true); error != 0) {
    errno = error;
    return -1;
  }
  return IsLost(text) ? static_cast<ssize_t>(size) : WriteTo(open, bytes, size, now);
}

}  // namespace explore
