// The checks of a plug-in's file, which is read and not loaded.
#include <algorithm>
#include <array>
#include <filesystem>

#include "orvhost/validation/host_libraries.h"
#include "orvhost/validation/library_file.h"
#include "orvhost/validation/run_path.h"
#include "orvhost/validation/validation.h"

namespace orvhost {

namespace {

constexpr std::array kEntryPoints = {"GetVendorFactory", "ReleaseVendor"};

constexpr std::array kHostLibraries = {"liborv_ProviderBase.so", "liborv_DllCommon.so"};

// The C and C++ runtime; the last three belong to the runtime of older systems.
constexpr std::array kRuntimeLibraries = {"libstdc++.so.6",       "libgcc_s.so.1",   "libc.so.6",  "libm.so.6",
                                          "ld-linux-x86-64.so.2", "libpthread.so.0", "libdl.so.2", "librt.so.1"};

template <typename Names>
bool Holds(const Names& names, const std::string& name) {
  return std::ranges::find(names, name) != names.end();
}

std::string Joined(const std::vector<std::string>& names) {
  constexpr std::size_t kShown = 8;
  std::string text;
  for (std::size_t i = 0; i < names.size() && i < kShown; ++i) {
    text += (i == 0 ? "" : ", ") + names[i];
  }
  if (names.size() > kShown) {
    text += " and " + std::to_string(names.size() - kShown) + " more";
  }
  return text;
}

// Hands the file to `judge`; a file that cannot be read fails every check.
template <typename Judge>
CheckResult OfFile(const Candidate& candidate, Judge judge) {
  std::string error;
  const auto file = ReadLibraryFile(candidate.path, &error);
  return file ? judge(*file) : CheckResult::Fail(error);
}

CheckResult CheckFile(const Candidate& candidate) {
  return OfFile(candidate, [](const LibraryFile& file) {
    if (!file.isSharedLibrary) {
      return CheckResult::Fail("it is an ELF file, but no shared library");
    }
    if (!file.isForThisMachine) {
      return CheckResult::Fail("it is made for another kind of machine");
    }
    return CheckResult::Pass(std::to_string(file.size) + " bytes");
  });
}

// Else its texts are not the host's, and its symbols have other names.
CheckResult CheckHostStringAbi(const Candidate& candidate) {
  return OfFile(candidate, [](const LibraryFile& file) {
    if (!file.stringAbi) {
      return CheckResult::Pass("it makes no vendor object of the host's");
    }
    const std::string abi = std::to_string(*file.stringAbi);
    return *file.stringAbi == kHostStringAbi
               ? CheckResult::Pass("_GLIBCXX_USE_CXX11_ABI=" + abi)
               : CheckResult::Fail("it is built with _GLIBCXX_USE_CXX11_ABI=" + abi +
                                   " and the host's libraries with " + std::to_string(kHostStringAbi));
  });
}

CheckResult CheckEntryPoints(const Candidate& candidate) {
  return OfFile(candidate, [](const LibraryFile& file) {
    std::vector<std::string> missing;
    for (const std::string name : kEntryPoints) {
      if (!Holds(file.exports, name)) {
        missing.push_back(name);
      }
    }
    return missing.empty() ? CheckResult::Pass(Joined({std::begin(kEntryPoints), std::end(kEntryPoints)}))
                           : CheckResult::Fail("it does not export " + Joined(missing), Joined(file.exports));
  });
}

CheckResult CheckExports(const Candidate& candidate) {
  return OfFile(candidate, [](const LibraryFile& file) {
    std::vector<std::string> others;
    for (const std::string& name : file.exports) {
      if (!Holds(kEntryPoints, name)) {
        others.push_back(name);
      }
    }
    return others.empty() ? CheckResult::Pass(Joined(file.exports))
                          : CheckResult::Fail("it also exports " + Joined(others));
  });
}

CheckResult CheckLibraries(const Candidate& candidate) {
  return OfFile(candidate, [](const LibraryFile& file) {
    std::vector<std::string> others;
    for (const std::string& name : file.needed) {
      if (!Holds(kHostLibraries, name) && !Holds(kRuntimeLibraries, name)) {
        others.push_back(name);
      }
    }
    return others.empty() ? CheckResult::Pass(Joined(file.needed))
                          : CheckResult::Fail("it also needs " + Joined(others), Joined(file.needed));
  });
}

// Without them it takes its base classes from what happens to be loaded before it.
CheckResult CheckHostLibraries(const Candidate& candidate) {
  return OfFile(candidate, [](const LibraryFile& file) {
    std::vector<std::string> missing;
    for (const std::string name : kHostLibraries) {
      if (!Holds(file.needed, name)) {
        missing.push_back(name);
      }
    }
    return missing.empty() ? CheckResult::Pass(Joined(file.needed))
                           : CheckResult::Fail("it does not say that it needs " + Joined(missing), Joined(file.needed));
  });
}

CheckResult CheckRunPath(const Candidate& candidate) {
  return OfFile(candidate, [&candidate](const LibraryFile& file) {
    if (!file.runPath) {
      return CheckResult::Pass("it has no run path");
    }
    const std::string origin = std::filesystem::path(candidate.path).parent_path().string();
    const std::vector<std::string> open = OpenFolders(*file.runPath, origin);
    return open.empty()
               ? CheckResult::Pass(*file.runPath)
               : CheckResult::Fail("it looks for libraries in folders that anybody can write to: " + Joined(open));
  });
}

CheckResult CheckStack(const Candidate& candidate) {
  return OfFile(candidate, [](const LibraryFile& file) {
    return file.hasExecutableStack ? CheckResult::Fail("it makes the stack executable")
                                   : CheckResult::Pass("it asks for a stack without execution");
  });
}

CheckResult CheckHardening(const Candidate& candidate) {
  return OfFile(candidate, [](const LibraryFile& file) {
    if (file.hasTextRelocations) {
      return CheckResult::Fail("its code is written to when it is loaded");
    }
    if (!file.hasRelro || !file.bindsNow) {
      return CheckResult::Fail("its relocations stay writable (no full RELRO)");
    }
    return CheckResult::Pass("full RELRO, bound when it is loaded");
  });
}

}  // namespace

std::span<const ValidationCheck> FileChecks() {
  static const std::array<ValidationCheck, 9> kChecks{{
      {"file", "It is an ELF shared library for this kind of machine.", {}, CheckFile},
      {"string-abi", "It is built with the std::string ABI of the host's libraries.", {"file"}, CheckHostStringAbi},
      {"entry-points", "It exports GetVendorFactory and ReleaseVendor.", {"file"}, CheckEntryPoints},
      {"exports", "It exports nothing else.", {"file"}, CheckExports},
      {"libraries", "It needs the host's libraries and the C and C++ runtime only.", {"file"}, CheckLibraries},
      {"host-libraries", "It says that it needs the host's libraries.", {"file"}, CheckHostLibraries},
      {"run-path", "It looks for libraries in no folder that everybody may write.", {"file"}, CheckRunPath},
      {"stack", "It leaves the stack not executable.", {"file"}, CheckStack},
      {"hardening", "Its code and its relocations are read-only once it is loaded.", {"file"}, CheckHardening},
  }};
  return kChecks;
}

}  // namespace orvhost
