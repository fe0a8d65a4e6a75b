// The C library's streams and open folders, in the tool's hands: on the stage they are made of descriptors of the
// simulated machine's files.
#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

#include "explore/calls.h"

using explore::Descriptors;
using explore::Next;
using explore::OpenFile;
using explore::TheOutside;
using explore::Way;
using explore::WayTo;

namespace {

// A folder that is being read.
struct FolderStream {
  int descriptor = -1;
  std::vector<dirent> entries;
  std::size_t at = 0;
};

std::map<const FILE*, int>& StreamDescriptors() {
  static std::map<const FILE*, int> descriptors;
  return descriptors;
}

std::vector<FolderStream*>& FolderStreams() {
  static std::vector<FolderStream*> streams;
  return streams;
}

// What a stream carries: where its descriptor's number stands.
void* CookieOf(int descriptor) {
  static std::array<int, Descriptors::kMost> numbers;
  int& number = numbers[static_cast<std::size_t>(descriptor - Descriptors::kFirst)];
  number = descriptor;
  return &number;
}

int DescriptorIn(const void* cookie) {
  return *static_cast<const int*>(cookie);
}

OpenFile* OpenOf(void* cookie) {
  return TheOutside().descriptors[DescriptorIn(cookie)];
}

ssize_t ReadStream(void* cookie, char* buffer, std::size_t size) {
  OpenFile* open = OpenOf(cookie);
  return open != nullptr ? explore::ReadFrom(*open, buffer, size) : -1;
}

ssize_t WriteStream(void* cookie, const char* bytes, std::size_t size) {
  OpenFile* open = OpenOf(cookie);
  return open != nullptr ? std::max<ssize_t>(explore::WriteOnStage(*open, bytes, size), 0) : 0;
}

int SeekStream(void* cookie, off64_t* offset, int whence) {
  OpenFile* open = OpenOf(cookie);
  *offset = open != nullptr ? explore::Seek(*open, *offset, whence) : -1;
  return *offset < 0 ? -1 : 0;
}

int CloseStream(void* cookie) {
  TheOutside().descriptors.Close(DescriptorIn(cookie));
  return 0;
}

int FlagsOf(const char* mode) {
  const bool both = std::strchr(mode, '+') != nullptr;
  switch (mode[0]) {
    case 'w':
      return (both ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    case 'a':
      return (both ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    default:
      return both ? O_RDWR : O_RDONLY;
  }
}

FILE* OpenStream(const char* path, const char* mode) {
  static const auto real = Next<FILE* (*)(const char*, const char*)>("fopen64");
  const Way way = WayTo(path);
  if (!way) {
    const explore::OffStage aside;
    return real(path, mode);
  }
  const auto open = explore::OpenOnStage(way, FlagsOf(mode), 0666);
  const int descriptor = open ? TheOutside().descriptors.Add(open) : -1;
  if (descriptor < 0) {
    return nullptr;
  }
  FILE* stream = fopencookie(CookieOf(descriptor), mode, {ReadStream, WriteStream, SeekStream, CloseStream});
  StreamDescriptors()[stream] = descriptor;
  return stream;
}

DIR* OpenFolder(int descriptor) {
  const OpenFile* open = TheOutside().descriptors[descriptor];
  if (!open->file->IsFolder()) {
    errno = ENOTDIR;
    return nullptr;
  }
  auto* stream = new FolderStream{descriptor, {}, 0};
  for (const auto& [name, file] : open->file->Inside()) {
    dirent entry{};
    entry.d_ino = file->Status().st_ino;
    entry.d_type = file->IsFolder() ? DT_DIR : DT_REG;
    name.copy(entry.d_name, sizeof entry.d_name - 1);
    stream->entries.push_back(entry);
  }
  FolderStreams().push_back(stream);
  return reinterpret_cast<DIR*>(stream);
}

FolderStream* Ours(DIR* folder) {
  auto* stream = reinterpret_cast<FolderStream*>(folder);
  return std::ranges::find(FolderStreams(), stream) != FolderStreams().end() ? stream : nullptr;
}

dirent* ReadEntry(FolderStream* stream) {
  return stream->at < stream->entries.size() ? &stream->entries[stream->at++] : nullptr;
}

}  // namespace

// NOLINTBEGIN: names and parameters are the C library's.
extern "C" {

FILE* fopen(const char* path, const char* mode) {
  return OpenStream(path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
  return OpenStream(path, mode);
}

int fileno(FILE* stream) noexcept {
  static const auto real = Next<int (*)(FILE*)>("fileno");
  const auto ours = StreamDescriptors().find(stream);
  return ours != StreamDescriptors().end() ? ours->second : real(stream);
}

int fclose(FILE* stream) {
  static const auto real = Next<int (*)(FILE*)>("fclose");
  StreamDescriptors().erase(stream);
  return real(stream);
}

DIR* opendir(const char* path) {
  static const auto real = Next<DIR* (*)(const char*)>("opendir");
  const Way way = WayTo(path);
  if (!way) {
    return real(path);
  }
  const auto open = explore::OpenOnStage(way, O_RDONLY | O_DIRECTORY, 0);
  const int descriptor = open ? TheOutside().descriptors.Add(open) : -1;
  return descriptor < 0 ? nullptr : OpenFolder(descriptor);
}

DIR* fdopendir(int descriptor) {
  static const auto real = Next<DIR* (*)(int)>("fdopendir");
  return TheOutside().descriptors[descriptor] != nullptr ? OpenFolder(descriptor) : real(descriptor);
}

struct dirent* readdir(DIR* folder) {
  static const auto real = Next<dirent* (*)(DIR*)>("readdir");
  FolderStream* stream = Ours(folder);
  return stream != nullptr ? ReadEntry(stream) : real(folder);
}

int dirfd(DIR* folder) noexcept {
  static const auto real = Next<int (*)(DIR*)>("dirfd");
  const FolderStream* stream = Ours(folder);
  return stream != nullptr ? stream->descriptor : real(folder);
}

int closedir(DIR* folder) {
  static const auto real = Next<int (*)(DIR*)>("closedir");
  FolderStream* stream = Ours(folder);
  if (stream == nullptr) {
    return real(folder);
  }
  TheOutside().descriptors.Close(stream->descriptor);
  std::erase(FolderStreams(), stream);
  delete stream;
  return 0;
}

}  // extern "C"
// NOLINTEND
