// Reads what a shared library's file says about itself, without loading it.
#ifndef ORVHOST_VALIDATION_LIBRARY_FILE_H
#define ORVHOST_VALIDATION_LIBRARY_FILE_H

#include <optional>
#include <string>
#include <vector>

namespace orvhost {

struct LibraryFile {
  std::size_t size = 0;                // bytes
  bool isSharedLibrary = false;        // and not a program
  bool isForThisMachine = false;       // class, byte order and processor are this program's
  std::optional<int> stringAbi;        // that of the strings which it hands to the host's CVendor: 0 or 1
  std::vector<std::string> exports;    // names that it defines for others, sorted
  std::vector<std::string> needed;     // libraries that it needs, in the order of the file
  std::optional<std::string> runPath;  // where they are looked for by its own wish, separated by colons
  bool hasExecutableStack = true;      // it does not say that it can do without
  bool hasRelro = false;               // a part that becomes read-only after its relocation
  bool bindsNow = false;               // all symbols are bound when it is loaded
  bool hasTextRelocations = false;     // code is written to when it is loaded
};

// Nothing, with the reason in `*error`, when `path` cannot be read or is no ELF file.
[[nodiscard]] std::optional<LibraryFile> ReadLibraryFile(const std::string& path, std::string* error);

}  // namespace orvhost

#endif  // ORVHOST_VALIDATION_LIBRARY_FILE_H
