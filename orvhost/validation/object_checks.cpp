// The checks of the objects that a plug-in gives.
#include <filesystem>

#include "orvhost/validation/holdings.h"
#include "orvhost/validation/trial.h"
#include "orvhost/validation/validation.h"
#include "refhost/live_objects.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

constexpr int kManyTimes = 50;

CheckResult CheckObject(const Candidate& candidate) {
  return WithVendor(candidate, [](CVendor& vendor) {
    return vendor.GetFirmwareHandler() == nullptr
               ? CheckResult::Pass("it has no firmware handler yet")
               : CheckResult::Fail("it has a firmware handler before it is linked to the device");
  });
}

CheckResult CheckEmptyProvider(const Candidate& candidate) {
  return WithPlugin(candidate, [&candidate](const Plugin& plugin) {
    CVendor* vendor = plugin.Create(candidate.className.c_str(), "");
    plugin.Release(vendor);
    return vendor != nullptr ? CheckResult::Pass("it gives one") : CheckResult::Fail("it gives no object");
  });
}

CheckResult CheckClassName(const Candidate& candidate) {
  return WithVendor(candidate, [&candidate](CVendor& vendor) {
    const std::string name = vendor.GetVendorClassName();
    return name == candidate.className ? CheckResult::Pass(name)
                                       : CheckResult::Fail("the object reports \"" + name + "\"");
  });
}

CheckResult CheckRelease(const Candidate& candidate) {
  return WithPlugin(candidate, [&candidate](const Plugin& plugin) {
    for (const bool isLinked : {false, true}) {
      CVendor* vendor = plugin.Create(candidate.className.c_str(), kProvider);
      if (isLinked) {
        vendor->LinkDevice();
      }
      plugin.Release(vendor);
      const refhost::LiveObjects left = refhost::CountLiveObjects();
      if (left.vendors != 0) {
        return CheckResult::Fail("the object lives on after its release");
      }
      if (left.modules != 0) {
        return CheckResult::Fail("the firmware handler lives on after the release of its object");
      }
    }
    return CheckResult::Pass("0 objects and 0 firmware handlers are left");
  });
}

CheckResult CheckLifeCycle(const Candidate& candidate) {
  return WithPlugin(candidate, [&candidate](const Plugin& plugin) {
    plugin.Release(
        plugin.Create(candidate.className.c_str(), kProvider));  // what the first object opens for good is left out
    const Holdings before;
    for (int i = 0; i < kManyTimes; ++i) {
      CVendor* vendor = plugin.Create(candidate.className.c_str(), kProvider);
      if (vendor == nullptr) {
        return CheckResult::Fail("after " + std::to_string(i + 1) + " objects it gave none");
      }
      vendor->LinkDevice();
      plugin.Release(vendor);
    }
    return NothingIsLeftSince(before);
  });
}

CheckResult CheckTwoObjects(const Candidate& candidate) {
  return WithVendor(candidate, [&candidate](CVendor& first) {
    const std::string name = first.GetVendorClassName();
    CheckResult second = WithVendor(candidate, [&first](CVendor& other) {
      return &other != &first ? CheckResult::Pass() : CheckResult::Fail("it gives the same object twice");
    });
    if (second.status != CheckResult::Status::kPass) {
      return second;
    }
    return first.GetVendorClassName() == name ? CheckResult::Pass("the first lives on after the second")
                                              : CheckResult::Fail("releasing one object damages the other");
  });
}

CheckResult CheckLinkDevice(const Candidate& candidate) {
  return WithVendor(candidate, [](CVendor& vendor) {
    vendor.LinkDevice();
    return vendor.GetFirmwareHandler() != nullptr ? CheckResult::Pass("it has a firmware handler")
                                                  : CheckResult::Fail("there is no firmware handler afterwards");
  });
}

CheckResult CheckAnswers(const Candidate& candidate) {
  return WithVendor(candidate, [&candidate](CVendor& vendor) {
    vendor.LinkDevice();
    const std::string hardware = vendor.GetHardwareVersion();
    if (vendor.GetHardwareVersionCache() != hardware) {
      return CheckResult::Fail("the hardware version changes");
    }
    if (vendor.CheckHardwareVersion(hardware, hardware) != 0) {
      return CheckResult::Fail("the hardware version is not compatible with itself");
    }
    if (vendor.IsUpdateFailure()) {
      return CheckResult::Fail("it reports a failed update although there was none");
    }
    if (vendor.EndOutputDeviceConfigInfo(candidate.folder + "/work/", nullptr) != 0) {
      return CheckResult::Fail("ending a report does not answer 0");
    }
    return CheckResult::Pass("hardware version \"" + hardware + "\", no failed update, report ended");
  });
}

CheckResult CheckLists(const Candidate& candidate) {
  return WithVendor(candidate, [](CVendor& vendor) {
    vendor.LinkDevice();
    std::list<CNecessaryComponentInfo> missing{{"kept", ""}};
    vendor.GetShortageOfNecessaryApplicationInfo(missing);
    if (missing.empty() || missing.front().name != "kept") {
      return CheckResult::Fail("the list of missing prerequisites is cleared");
    }
    std::list<CLinkApplicationInfo> applications{{"kept", ""}};
    vendor.GetLinkApplicationInfo(&applications);
    if (applications.empty() || applications.front().name != "kept") {
      return CheckResult::Fail("the list of linked applications is cleared");
    }
    return CheckResult::Pass(std::to_string(missing.size() - 1) + " and " + std::to_string(applications.size() - 1) +
                             " entries appended to two lists of one");
  });
}

CheckResult CheckUnknownMethod(const Candidate& candidate) {
  return WithVendor(candidate, [](CVendor& vendor) {
    vendor.LinkDevice();
    for (const std::string name : {"", "OrvhostNoSuchMethod"}) {
      const long result = vendor.ExecVendorMethod(name);
      if (result != -1) {
        return CheckResult::Fail("the method \"" + name + "\" answers " + std::to_string(result) + " and not -1");
      }
    }
    return CheckResult::Pass("-1 for two names");
  });
}

// A whole life without a question to the device.
CheckResult LiveThrough(const Candidate& candidate) {
  CheckResult result = CheckAnswers(candidate);
  if (result.status == CheckResult::Status::kPass) {
    result = CheckUnknownMethod(candidate);
  }
  return result;
}

CheckResult CheckNoCommands(const Candidate& candidate) {
  CheckResult life = WithVendor(candidate, [](CVendor& vendor) {
    vendor.LinkDevice();
    vendor.GetHardwareVersion();
    return CheckResult::Pass("none was asked for");
  });
  if (life.status != CheckResult::Status::kPass || RefusedCommands().empty()) {
    return life;
  }
  return CheckResult::Fail("it wanted to run [" + RefusedCommands().front() + "]");
}

CheckResult CheckNoWrites(const Candidate& candidate) {
  CheckResult life = LiveThrough(candidate);
  if (life.status != CheckResult::Status::kPass) {
    return life;
  }
  std::string written;
  for (const auto& entry : fs::recursive_directory_iterator(candidate.folder)) {
    const std::string name = entry.path().lexically_relative(candidate.folder).string();
    const bool allowed =
        name == "install" || name == "work" || name == "install/tmp" || name.rfind("install/tmp/", 0) == 0;
    if (!allowed) {
      return CheckResult::Fail("it writes " + name);
    }
    if (name.starts_with("install/")) {
      written += (written.empty() ? "" : ", ") + name;
    }
  }
  return CheckResult::Pass(written.empty() ? "nothing is written" : "it writes " + written);
}

}  // namespace

std::span<const ValidationCheck> ObjectChecks() {
  static const std::vector<std::string> kEntry{"load", "entry-points"};
  static const std::vector<ValidationCheck> kChecks{
      {"object", "The vendor class gives an object, not yet linked to the device.", kEntry, CheckObject},
      {"empty-provider", "An empty name of the host gives an object too.", {"object"}, CheckEmptyProvider},
      {"class-name", "An object reports the class that it was asked for.", {"object"}, CheckClassName},
      {"link-device", "Linking an object to the device makes its firmware handler.", {"object"}, CheckLinkDevice},
      {"release", "Releasing an object ends it and its firmware handler.", {"link-device"}, CheckRelease},
      {"life-cycle", "Objects come and go many times and leave nothing in place.", {"link-device"}, CheckLifeCycle},
      {"two-objects", "Two objects live side by side.", {"object"}, CheckTwoObjects},
      {"answers", "What needs no device is answered as the contract says.", {"link-device"}, CheckAnswers},
      {"lists", "Lists are appended to and never cleared.", {"link-device"}, CheckLists},
      {"unknown-method", "A method that does not exist is refused with -1.", {"link-device"}, CheckUnknownMethod},
      {"no-commands", "No command is run before the device is asked for something.", {"link-device"}, CheckNoCommands},
      {"no-writes", "Nothing is written outside of INSTALL_PATH/tmp.", {"answers", "unknown-method"}, CheckNoWrites},
  };
  return kChecks;
}

}  // namespace orvhost
