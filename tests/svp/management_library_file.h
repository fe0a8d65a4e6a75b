// Lays a management library where the plug-in looks for it.
#ifndef TESTS_SVP_MANAGEMENT_LIBRARY_FILE_H
#define TESTS_SVP_MANAGEMENT_LIBRARY_FILE_H

#include <string>

#include "tests/support/scripted_host.h"

namespace kestrel {

// Path of the management library, with "$I" for the install path.
inline constexpr const char* kManagementLibrary = "$I/kind4/liborv_MngSrv_OrvLib.so";

// Installs one of the libraries built for the tests (see CMakeLists.txt): "whole", "without_entries", or without one of
// the entry points. A library that is there already is replaced.
void InstallManagementLibrary(const ScriptedHost& host, const std::string& kind);

// Installs a file with this content in its place.
void InstallNoLibrary(const ScriptedHost& host, const std::string& content);

// Whether the library is still loaded into this process.
bool ManagementLibraryIsLoaded(const ScriptedHost& host);

// The journal of a library that is opened and gives an interface object, and of one that is released again.
Lines LibraryOpened();
Lines LibraryClosed();

}  // namespace kestrel

#endif  // TESTS_SVP_MANAGEMENT_LIBRARY_FILE_H
