// See description.h.
#include "lab/server/description.h"

#include <nlohmann/json.hpp>

#include "lab/hex_bytes.h"
#include "lab/server/os_record.h"

namespace kv6000 {

namespace {

using Json = nlohmann::json;

const char* Name(Media media) {
  switch (media) {
    case Media::kDisconnected:
      return "disconnected";
    case Media::kConnecting:
      return "connecting";
    case Media::kConnected:
      break;
  }
  return "connected";
}

const char* Name(Flash flash) {
  switch (flash) {
    case Flash::kIdle:
      return "idle";
    case Flash::kRunning:
      return "running";
    case Flash::kDone:
      return "done";
    case Flash::kBadMagic:
      return "bad magic";
    case Flash::kBadLength:
      return "bad length";
    case Flash::kBadChecksum:
      return "bad checksum";
    case Flash::kMediaLost:
      break;
  }
  return "media lost";
}

Json DescribeLan(const LanConfig& lan) {
  return {{"mac", FormatHex(lan.mac)},
          {"address", FormatHex(lan.address)},
          {"netmask", FormatHex(lan.netmask)},
          {"gateway", FormatHex(lan.gateway)},
          {"dhcp", lan.dhcp}};
}

Json DescribeSdr(const SdrRepository& sdr) {
  return {{"version", SdrVersion(sdr.AllRecords())},
          {"records", sdr.AllRecords().size()},
          {"standby", sdr.Standby() ? Json(SdrVersion(*sdr.Standby())) : Json()},
          {"updating", sdr.IsUpdating()}};
}

Json DescribeOsRecord(const OsRecord& record) {
  Json described = Json::object();
  for (const auto& [name, value] : record.items) {
    described[name] = value;
  }
  if (!record.fault.empty()) {
    described["fault"] = record.fault;
  }
  return described;
}

}  // namespace

Json DescribeState(const Bmc& bmc) {
  const auto& state = bmc.CurrentState();
  Json described;
  described["running"] = Text(state.running);
  described["standby"] = state.standby ? Json(Text(*state.standby)) : Json();
  described["whole"] = state.standby.has_value();
  described["flag"] = state.rebootFlag;
  described["flagMindsReset"] = state.rebootFlag && state.flagMindsReset;
  described["media"] = Name(state.media);
  described["waiting"] = state.waiting;
  described["writeMode"] = state.writeMode;
  described["flash"] = Name(state.flash);
  described["flashPercent"] = state.flashPercent;
  described["lan"] = DescribeLan(bmc.TheNetwork().Config());
  described["capability"] = bmc.Files().Support();
  described["sdr"] = DescribeSdr(bmc.Sdr());
  return described;
}

Json DescribeFiles(const ConfigFiles& files) {
  Json all = Json::object();
  for (const auto& [number, file] : files.Files()) {
    Json described;
    described["locked"] = file.locked;
    described["signed"] = file.hasSignature;
    described["incoming"] = FormatHex(file.incoming);
    described["stored"] = file.stored ? Json(FormatHex(*file.stored)) : Json();
    described["announced"] = file.announced;
    if (number == ConfigFiles::kOsFile && file.stored) {
      described["decoded"] = DescribeOsRecord(ReadOsRecord(*file.stored));
    }
    all[FormatHex(number)] = described;
  }
  return all;
}

}  // namespace kv6000
