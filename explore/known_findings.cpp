#include "explore/known_findings.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>

namespace explore {

namespace {

// A finding with what surrounds it.
struct Case {
  const Scenario& scenario;
  const std::string& finding;

  [[nodiscard]] bool Says(std::string_view part) const { return finding.find(part) != std::string::npos; }
  // It takes these steps, and no others.
  [[nodiscard]] bool Takes(std::string_view steps) const {
    return finding.starts_with("recovery: it takes ") && finding.ends_with(" steps: " + std::string(steps));
  }
  [[nodiscard]] bool IsHitBy(std::initializer_list<FaultKind> kinds) const {
    return std::ranges::any_of(scenario.faults,
                               [&kinds](const Fault& fault) { return std::ranges::count(kinds, fault.kind) != 0; });
  }
  [[nodiscard]] bool IsHitInItsFiles() const {
    return IsHitBy({FaultKind::kDiskFull, FaultKind::kDiskFullForGood, FaultKind::kHalfWritten, FaultKind::kRenameFails,
                    FaultKind::kSyncFails, FaultKind::kReadOnly});
  }
  [[nodiscard]] bool IsMisread() const {
    return IsHitBy({FaultKind::kMissing, FaultKind::kEmpty, FaultKind::kUnreadable});
  }
  [[nodiscard]] bool IsOn(std::string_view road) const { return scenario.road.find(road) != std::string::npos; }
};

struct Known {
  bool (*applies)(const Case&);
  const char* why;
};

constexpr auto kKnown = std::to_array<Known>({
    {[](const Case& one) {
       return one.finding.starts_with("truth: before: BMC:01-23,SDR:, and without faults before: BMC:01-23,SDR:A1,") &&
              one.Says("with the notice: The version of the sensor data records is missing");
     },
     "The version of the sensor data records counts as empty when it cannot be read; the plug-in answers that as a "
     "version. A notice says that it is missing."},
    {[](const Case& one) { return one.Says("without faults facts.sdr_version: \"A1\"") && one.IsOn("report-rack"); },
     "The plug-in's report leaves out the version of the sensor data records when it cannot be read."},
    {[](const Case& one) {
       return one.Says("truth: verdict: partly-sent, and without faults verdict: sent") &&
              one.IsHitBy({FaultKind::kInvalidCommand});
     },
     "A BMC that says that it does not know the command which asks for its capabilities supports no record."},
    {[](const Case& one) { return one.Says("truth: record 64: ") && one.Says("so the record was sent without it"); },
     "The plug-in sends the record of the operating system without its name when the release file cannot be read. A "
     "notice says so."},
    {[](const Case& one) { return one.Says("and nothing was started") && one.IsHitBy({FaultKind::kNoProcess}); },
     "The plug-in's own runner does not say that it could start no process; the tool takes the flash for touched, "
     "which "
     "is the safe side."},
    {[](const Case& one) {
       return one.Takes("diagnose, verify, update, apply, verify") && one.IsHitBy({FaultKind::kPower});
     },
     "The power was lost when the tool had ended an apply and the machine had not gone down yet. As after any apply "
     "the "
     "BMC is asked first, and where it has lost its reboot flag the package is written once more. A person does what "
     "is "
     "named, one step after the other, and replaces nothing."},
    {[](const Case& one) {
       return (one.Takes("apply, update, apply, verify") || one.Takes("diagnose, apply, update, apply, verify") ||
               one.Takes("diagnose, verify, apply, update, apply, verify")) &&
              one.IsHitBy({FaultKind::kHangs});
     },
     "A flash tool that was cut off at its time limit may have written all or nothing: only the BMC's answer to apply "
     "shows which. A person writes the package anew, as the text says."},
    {[](const Case& one) {
       return one.Takes("diagnose, apply, verify, update, apply, verify") && one.IsOn("rack") &&
              one.IsHitBy({FaultKind::kPower}) && one.IsHitInItsFiles();
     },
     "The journal's line about the start of a package's script could not be written, and the power was lost later: "
     "what "
     "the script gave the BMC is lost with it, which nothing shows before the apply."},
    {[](const Case& one) {
       return one.Takes("diagnose, apply, update, apply, verify") && one.IsHitBy({FaultKind::kKill}) &&
              one.IsHitInItsFiles();
     },
     "The journal of an apply could not be written, and the tool was killed when the update marker was gone already. "
     "So "
     "the update seems to wait, the next apply says that the marker is missing, and the package is written once more."},
    {[](const Case& one) {
       return one.finding.starts_with("truth: ") && one.IsMisread() &&
              one.Says("with the notice: This machine did not report its server type");
     },
     "Where the product name cannot be read, identify shows no server type. A notice says so."},
    {[](const Case& one) {
       return one.Says("the journal does not say so") && one.IsOn("rack") && one.IsHitInItsFiles();
     },
     "A package's script is started by the plug-in itself, so that a journal that cannot be written does not stop it; "
     "the records show the update all the same."},
    {[](const Case& one) { return one.Says("the records do not say so") && one.IsHitBy({FaultKind::kEmpty}); },
     "A records file that reads as empty in the middle of a run is kept aside as damaged, and the run goes on."},
});

}  // namespace

std::string WhyKnown(const Scenario& scenario, const std::string& finding) {
  const Case one{scenario, finding};
  const auto* known = std::ranges::find_if(kKnown, [&one](const Known& row) { return row.applies(one); });
  return known != kKnown.end() ? known->why : "";
}

}  // namespace explore
