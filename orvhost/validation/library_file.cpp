#include "orvhost/validation/library_file.h"

#include <fcntl.h>
#include <gelf.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include "posix/file_descriptor.h"
#include "posix/last_error.h"

namespace orvhost {

namespace {

using Handle = std::unique_ptr<Elf, decltype(&elf_end)>;

std::string TextAt(Elf* elf, std::size_t section, std::size_t offset) {
  const char* text = elf_strptr(elf, section, offset);
  return text != nullptr ? text : "";
}

bool IsVisible(const GElf_Sym& symbol) {
  const auto binding = GELF_ST_BIND(symbol.st_info);
  const auto visibility = GELF_ST_VISIBILITY(symbol.st_other);
  return symbol.st_shndx != SHN_UNDEF && binding != STB_LOCAL &&
         (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

// Every vendor object hands a string to the constructor of its base class.
std::optional<int> StringAbiOf(std::string_view name) {
  if (!name.starts_with("_ZN7CVendorC")) {
    return {};
  }
  return name.find("__cxx11") != std::string_view::npos ? 1 : 0;
}

void ReadSymbols(Elf* elf, Elf_Scn* section, const GElf_Shdr& header, LibraryFile* file) {
  Elf_Data* data = elf_getdata(section, nullptr);
  GElf_Sym symbol;
  for (int i = 0; data != nullptr && gelf_getsym(data, i, &symbol) != nullptr; ++i) {
    const std::string name = TextAt(elf, header.sh_link, symbol.st_name);
    if (IsVisible(symbol)) {
      file->exports.push_back(name);
    }
    if (const auto abi = StringAbiOf(name)) {
      file->stringAbi = abi;
    }
  }
  std::ranges::sort(file->exports);
}

// `isProgram` is set for a position-independent program, which has the type of a shared library.
void ReadDynamic(Elf* elf, Elf_Scn* section, const GElf_Shdr& header, LibraryFile* file, bool* isProgram) {
  Elf_Data* data = elf_getdata(section, nullptr);
  GElf_Dyn entry;
  for (int i = 0; data != nullptr && gelf_getdyn(data, i, &entry) != nullptr && entry.d_tag != DT_NULL; ++i) {
    const auto value = entry.d_un.d_val;
    if (entry.d_tag == DT_NEEDED) {
      file->needed.push_back(TextAt(elf, header.sh_link, value));
    }
    if (entry.d_tag == DT_RPATH || entry.d_tag == DT_RUNPATH) {
      file->runPath = (file->runPath ? *file->runPath + ":" : "") + TextAt(elf, header.sh_link, value);
    }
    if (entry.d_tag == DT_BIND_NOW) {
      file->bindsNow = true;
    }
    if (entry.d_tag == DT_FLAGS && (value & DF_BIND_NOW) != 0) {
      file->bindsNow = true;
    }
    if (entry.d_tag == DT_FLAGS_1 && (value & DF_1_NOW) != 0) {
      file->bindsNow = true;
    }
    if (entry.d_tag == DT_TEXTREL || (entry.d_tag == DT_FLAGS && (value & DF_TEXTREL) != 0)) {
      file->hasTextRelocations = true;
    }
    if (entry.d_tag == DT_FLAGS_1 && (value & DF_1_PIE) != 0) {
      *isProgram = true;
    }
  }
}

void ReadSegments(Elf* elf, LibraryFile* file) {
  std::size_t count = 0;
  elf_getphdrnum(elf, &count);
  for (std::size_t i = 0; i < count; ++i) {
    GElf_Phdr header;
    if (gelf_getphdr(elf, static_cast<int>(i), &header) == nullptr) {
      continue;
    }
    if (header.p_type == PT_GNU_RELRO) {
      file->hasRelro = true;
    }
    if (header.p_type == PT_GNU_STACK) {
      file->hasExecutableStack = (header.p_flags & PF_X) != 0;
    }
  }
}

bool ReadHeader(const std::string& path, posix::FileDescriptor* descriptor, Handle* elf, GElf_Ehdr* header,
                std::string* error) {
  *descriptor = posix::FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!descriptor->IsOpen()) {
    *error = "it cannot be opened: " + posix::LastError();
    return false;
  }
  elf_version(EV_CURRENT);
  elf->reset(elf_begin(descriptor->Get(), ELF_C_READ, nullptr));
  if (*elf && elf_kind(elf->get()) == ELF_K_ELF && gelf_getehdr(elf->get(), header) != nullptr) {
    return true;
  }
  *error = "it is no ELF file";
  return false;
}

bool IsForSameMachine(const GElf_Ehdr& header) {
  posix::FileDescriptor descriptor(-1);
  Handle elf(nullptr, elf_end);
  GElf_Ehdr own;
  std::string error;
  return ReadHeader("/proc/self/exe", &descriptor, &elf, &own, &error) && header.e_machine == own.e_machine &&
         header.e_ident[EI_CLASS] == own.e_ident[EI_CLASS] && header.e_ident[EI_DATA] == own.e_ident[EI_DATA];
}

}  // namespace

std::optional<LibraryFile> ReadLibraryFile(const std::string& path, std::string* error) {
  posix::FileDescriptor descriptor(-1);
  Handle elf(nullptr, elf_end);
  GElf_Ehdr header;
  if (!ReadHeader(path, &descriptor, &elf, &header, error)) {
    return {};
  }
  LibraryFile file;
  bool isProgram = false;
  Elf_Scn* section = nullptr;
  while ((section = elf_nextscn(elf.get(), section)) != nullptr) {
    GElf_Shdr sectionHeader;
    if (gelf_getshdr(section, &sectionHeader) == nullptr) {
      continue;
    }
    if (sectionHeader.sh_type == SHT_DYNSYM) {
      ReadSymbols(elf.get(), section, sectionHeader, &file);
    }
    if (sectionHeader.sh_type == SHT_DYNAMIC) {
      ReadDynamic(elf.get(), section, sectionHeader, &file, &isProgram);
    }
  }
  ReadSegments(elf.get(), &file);
  struct stat status {};
  if (fstat(descriptor.Get(), &status) == 0) {
    file.size = static_cast<std::size_t>(status.st_size);
  }
  file.isSharedLibrary = header.e_type == ET_DYN && !isProgram;
  file.isForThisMachine = IsForSameMachine(header);
  return file;
}

}  // namespace orvhost
