// The checks of what a host meets with a plug-in's objects on a machine where nothing is prepared: without a device,
// without an install path, from another thread. The host runs no command and makes no pause here.
#include <chrono>
#include <exception>
#include <filesystem>
#include <thread>

#include "host/Results.h"
#include "orvhost/validation/trial.h"
#include "orvhost/validation/validation.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

// A host links its devices one after the other, at its start.
constexpr double kLongestLink = 5;  // seconds

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::string InSeconds(double seconds) {
  std::string text = std::to_string(seconds);
  return text.substr(0, text.find('.') + 4) + " s";
}

// What was asked of the host so far.
std::string Demands() {
  const std::size_t count = RefusedCommands().size();
  return std::to_string(count) + (count == 1 ? " command" : " commands") + " and pauses of " +
         std::to_string(PausesAskedFor()) + " ms asked for";
}

CheckResult CheckLinkTime(const Candidate& candidate) {
  return WithVendor(candidate, [](CVendor& vendor) {
    using std::chrono::steady_clock;
    const auto start = steady_clock::now();
    vendor.LinkDevice();
    const std::chrono::duration<double> real = steady_clock::now() - start;
    const double seconds = real.count() + static_cast<double>(PausesAskedFor()) / 1000;
    const std::string evidence = InSeconds(seconds) + ", " + Demands();
    return seconds <= kLongestLink ? CheckResult::Pass(evidence)
                                   : CheckResult::Fail("it takes " + InSeconds(seconds), evidence);
  });
}

CheckResult CheckNoInstallPath(const Candidate& candidate) {
  const std::string installPath = candidate.folder + kInstallFolder;
  CheckResult result = WithVendor(candidate, [&installPath](CVendor& vendor) {
    fs::remove_all(installPath);
    vendor.LinkDevice();
    return CheckResult::Pass(vendor.GetFirmwareHandler() != nullptr ? "it makes its firmware handler all the same"
                                                                    : "it makes no firmware handler");
  });
  if (result.status == CheckResult::Status::kPass && fs::exists(installPath)) {
    return CheckResult::Fail("it makes the install path, which is the host's");
  }
  return result;
}

CheckResult CheckOtherThread(const Candidate& candidate) {
  return WithPlugin(candidate, [&candidate](const Plugin& plugin) {
    CheckResult result = CheckResult::Pass("made, linked and released on a second thread");
    std::exception_ptr thrown;
    std::thread other([&] {
      try {
        CVendor* vendor = plugin.Create(candidate.className.c_str(), kProvider);
        if (vendor == nullptr) {
          result = CheckResult::Fail("it gives no object on another thread than the one that loads it");
          return;
        }
        vendor->LinkDevice();
        if (vendor->GetFirmwareHandler() == nullptr) {
          result = CheckResult::Fail("there is no firmware handler on another thread than the one that loads it");
        }
        plugin.Release(vendor);
      } catch (...) {
        thrown = std::current_exception();
      }
    });
    other.join();
    if (thrown) {
      std::rethrow_exception(thrown);
    }
    return result;
  });
}

CheckResult CheckVersionOrder(const Candidate& candidate) {
  return WithVendor(candidate, [](CVendor& vendor) {
    vendor.LinkDevice();
    for (const std::string first : {"", host::kAbnormalVersion}) {
      for (const std::string second : {"", host::kAbnormalVersion}) {
        const int result = vendor.GetFirmwareHandler()->CheckVendorVersion(first, second);
        if (result != 0) {
          return CheckResult::Fail("comparing " + Quoted(first) + " with " + Quoted(second) + " answers " +
                                   std::to_string(result) + " and not 0");
        }
      }
    }
    return CheckResult::Pass("0 for \"\" and \"abnormal\" in every order");
  });
}

CheckResult CheckPreUpdate(const Candidate& candidate) {
  return WithVendor(candidate, [&candidate](CVendor& vendor) {
    vendor.LinkDevice();
    std::list<std::string> files;
    const int result = vendor.GetFirmwareHandler()->PreUpdate("", candidate.folder + "/none.zip", &files, false);
    const std::string evidence = "it answers " + std::to_string(result);
    return result == host::kSuccess || result == host::kFailure ? CheckResult::Pass(evidence)
                                                                : CheckResult::Fail(evidence + " and neither 0 nor 1");
  });
}

// A device that is not reached by commands may well be there.
CheckResult CheckNoDevice(const Candidate& candidate) {
  return WithVendor(candidate, [](CVendor& vendor) {
    vendor.LinkDevice();
    const std::size_t before = RefusedCommands().size();
    const std::string version = vendor.GetFirmwareHandler()->GetOperatingVersion();
    const std::string evidence = "it answers " + Quoted(version) + ", " + Demands();
    if (version.empty()) {
      return CheckResult::Fail("it answers an empty text", evidence);
    }
    if (version != host::kAbnormalVersion && RefusedCommands().size() > before) {
      return CheckResult::Fail("it answers " + Quoted(version) + " although no command was run", evidence);
    }
    return CheckResult::Pass(evidence);
  });
}

}  // namespace

std::span<const ValidationCheck> HostChecks() {
  static const std::vector<std::string> kLinked{"link-device"};
  static const std::vector<ValidationCheck> kChecks{
      {"link-time", "Linking takes no more than 5 seconds where no device answers.", kLinked, CheckLinkTime},
      {"no-install", "Without an install path linking comes back and makes none.", kLinked, CheckNoInstallPath},
      {"other-thread", "Its objects live on any thread of the host.", kLinked, CheckOtherThread},
      {"version-order", "Versions that cannot be compared are neither newer nor older.", kLinked, CheckVersionOrder},
      {"pre-update", "The gate before an update answers 0 or 1.", kLinked, CheckPreUpdate},
      {"no-device", "Where the device cannot be asked its version is \"abnormal\".", kLinked, CheckNoDevice},
  };
  return kChecks;
}

}  // namespace orvhost
