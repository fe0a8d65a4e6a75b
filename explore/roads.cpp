#include "explore/roads.h"

#include <algorithm>

namespace explore {

namespace {

constexpr MachineKind kOrdinary{};
constexpr MachineKind kWithMakersTool{.hasMakersTool = true};
constexpr MachineKind kWithWriteMode{.needsWriteMode = true};
constexpr MachineKind kWithoutSg{.lacksSg = true};
constexpr MachineKind kRack{.isRack = true};
constexpr MachineKind kRackWithMakersTool{.hasMakersTool = true, .isRack = true};
constexpr MachineKind kRackWithManyRecords{.isRack = true, .records = 300};

constexpr std::string_view kUpdate = "update PACKAGE";
constexpr std::string_view kApply = "apply --yes";

}  // namespace

std::string MachineKind::OldVersion() const {
  return isRack ? "BMC:01-23,SDR:A1" : needsWriteMode ? "06-10" : "01-23";
}

std::string MachineKind::NewVersion() const {
  return isRack ? "BMC:01-24,SDR:A2" : needsWriteMode ? "06-11" : "01-24";
}

std::span<const Road> AllRoads() {
  static const std::vector<Road> kRoads = {
      {"identify-ipmitool", kOrdinary, {}, {"identify"}},
      {"identify-ipmicmd", kWithMakersTool, {}, {"identify"}},
      {"identify-rack", kRack, {}, {"identify"}},
      {"identify-rack-300", kRackWithManyRecords, {}, {"identify"}},
      {"check-ipmitool", kOrdinary, {}, {"check PACKAGE"}},
      {"check-ipmicmd", kWithMakersTool, {}, {"check PACKAGE"}},
      {"check-rack", kRack, {}, {"check PACKAGE"}},
      {"update-ipmitool", kOrdinary, {}, {kUpdate}, true},
      {"update-ipmicmd", kWithMakersTool, {}, {kUpdate}, true},
      {"update-write-mode", kWithWriteMode, {}, {kUpdate}, true},
      {"update-without-sg", kWithoutSg, {}, {kUpdate}, true},
      {"update-rack", kRack, {}, {kUpdate}, true},
      {"update-rack-ipmicmd", kRackWithMakersTool, {}, {kUpdate}, true},
      {"apply-ipmitool", kOrdinary, {kUpdate}, {kApply}, true},
      {"apply-ipmicmd", kWithMakersTool, {kUpdate}, {kApply}, true},
      {"apply-rack", kRack, {kUpdate}, {kApply}, true},
      {"verify-ipmitool", kOrdinary, {kUpdate, kApply}, {"verify"}, true},
      {"verify-ipmicmd", kWithMakersTool, {kUpdate, kApply}, {"verify"}, true},
      {"verify-rack", kRack, {kUpdate, kApply}, {"verify"}, true},
      {"life-ipmitool", kOrdinary, {}, {kUpdate, kApply, "verify"}, true},
      {"life-ipmicmd", kWithMakersTool, {}, {kUpdate, kApply, "verify"}, true},
      {"life-rack", kRack, {}, {kUpdate, kApply, "verify"}, true},
      {"notify-ipmitool", kOrdinary, {}, {"notify"}},
      {"notify-ipmicmd", kWithMakersTool, {}, {"notify"}},
      {"notify-rack", kRack, {}, {"notify"}},
      {"report-ipmitool", kOrdinary, {}, {"report --out /srv/reports"}},
      {"report-ipmicmd", kWithMakersTool, {}, {"report --out /srv/reports"}},
      {"report-rack", kRack, {}, {"report --out /srv/reports"}},
      {"methods-send", kOrdinary, {}, {"methods SendInfoToSVP"}},
      {"methods-reboot", kOrdinary, {kUpdate}, {"methods Reboot --yes"}, true},
      {"methods-reboot-rack", kRack, {kUpdate}, {"methods Reboot --yes"}, true},
  };
  return kRoads;
}

const Road* FindRoad(std::string_view name) {
  const auto found = std::ranges::find(AllRoads(), name, &Road::name);
  return found == AllRoads().end() ? nullptr : &*found;
}

}  // namespace explore
