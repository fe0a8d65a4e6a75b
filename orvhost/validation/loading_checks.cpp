// The checks of a plug-in in memory up to its objects: loading, unloading, and what its entry points refuse.
#include <dlfcn.h>

#include "orvhost/validation/holdings.h"
#include "orvhost/validation/trial.h"
#include "orvhost/validation/validation.h"

namespace orvhost {

namespace {

CheckResult CheckLoad(const Candidate& candidate) {
  PrepareTrial(candidate);
  return dlopen(candidate.path.c_str(), RTLD_NOW | RTLD_LOCAL) != nullptr
             ? CheckResult::Pass("loaded with RTLD_NOW and RTLD_LOCAL")
             : CheckResult::Fail(dlerror());
}

CheckResult CheckUnload(const Candidate& candidate) {
  PrepareTrial(candidate);
  const Holdings before;
  dlclose(dlopen(candidate.path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (dlopen(candidate.path.c_str(), RTLD_NOW | RTLD_NOLOAD) != nullptr) {
    return CheckResult::Fail("it stays in memory after it was unloaded");
  }
  return NothingIsLeftSince(before);
}

// Asks for an object that must not exist.
CheckResult NoObjectFor(const Candidate& candidate, const char* className, const char* provider) {
  return WithPlugin(candidate, [&](const Plugin& plugin) {
    return plugin.Create(className, provider) == nullptr ? CheckResult::Pass("it gives none")
                                                         : CheckResult::Fail("it gives an object all the same");
  });
}

CheckResult CheckNullClass(const Candidate& candidate) {
  return NoObjectFor(candidate, nullptr, kProvider);
}

CheckResult CheckNullProvider(const Candidate& candidate) {
  return NoObjectFor(candidate, candidate.className.c_str(), nullptr);
}

CheckResult CheckOtherClass(const Candidate& candidate) {
  return WithPlugin(candidate, [&candidate](const Plugin& plugin) {
    const std::string& right = candidate.className;
    for (const std::string& name : {std::string(), right + "2", right + " ", right.substr(1), std::string("CVendor")}) {
      if (plugin.Create(name.c_str(), kProvider) != nullptr) {
        return CheckResult::Fail("it gives an object for the class \"" + name + "\"");
      }
    }
    return CheckResult::Pass("none for 5 other names");
  });
}

CheckResult CheckReleaseOfNull(const Candidate& candidate) {
  return WithPlugin(candidate, [](const Plugin& plugin) {
    plugin.Release(nullptr);
    return CheckResult::Pass("it came back");
  });
}

}  // namespace

std::span<const ValidationCheck> LoadingChecks() {
  static const std::vector<std::string> kEntry{"load", "entry-points"};
  static const std::vector<ValidationCheck> kChecks{
      {"load", "It loads with all its symbols bound.", {"file"}, CheckLoad},
      {"unload", "Unloading it leaves nothing in place.", {"load"}, CheckUnload},
      {"null-class", "A null class name gives no object.", kEntry, CheckNullClass},
      {"other-class", "The name of another class gives no object.", kEntry, CheckOtherClass},
      {"null-provider", "A null name of the host gives no object.", kEntry, CheckNullProvider},
      {"release-null", "Releasing null does nothing.", kEntry, CheckReleaseOfNull},
  };
  return kChecks;
}

}  // namespace orvhost
