// orvhost identify: which device this is and what it runs.
#include "host/DllCommon.h"
#include "orvhost/commands/commands.h"
#include "orvhost/commands/server_type.h"
#include "orvhost/commands/status_words.h"
#include "orvhost/commands/waiting_update.h"

namespace orvhost {

namespace {

Outcome Identify(const Run& run) {
  Outcome outcome;
  EnterPhase(run, &outcome, "plug-in");
  refhost::ModuleState records;
  const std::unique_ptr<Session> session = OpenSession(run, DamagedRecords::kKeepAside, &outcome, &records);
  if (!session) {
    return outcome;
  }
  EnterPhase(run, &outcome, "prerequisites");
  if (!HasPrerequisites(run, *session, &outcome)) {
    return outcome;
  }
  EnterPhase(run, &outcome, "identify");
  const CManageModuleInfo device = session->Vendor().GetDeviceInfo();
  const std::string serverType = CCommon_Information::GetServerType("bmc");
  outcome.facts = {{"device", "Device", device.operating.deviceName}, {"server_type", "Server type", serverType}};
  std::list<std::pair<std::string, std::string>> extended;
  session->Vendor().GetExtendedInfo(&extended);
  for (const auto& [name, value] : extended) {
    outcome.facts.push_back({FactKey(name), name, value});
  }
  outcome.facts.push_back({"recorded_version", "Recorded version", device.operating.moduleVersion});
  outcome.facts.push_back({"last_update", "Last update", InWords(refhost::StatusOfDevice(records))});
  const bool isRead = ReadVersionOf(serverType, run, *session, &outcome);
  outcome.needsApply = NeedsApply(*session, outcome.before);
  if (!isRead) {
    return outcome;
  }
  outcome.verdict = "identified";
  outcome.after = outcome.before;
  outcome.summary = "The BMC runs firmware version " + outcome.before + ".";
  return outcome;
}

constexpr const char* kIdentifyHelp = R"(Asks the plug-in and the BMC for the device's name, the server type, the serial
number and the running firmware version, and shows what the host recorded: the
version that was installed and how the last update ended. Changes nothing, with
one exception: records that are damaged are kept under another name, and the
next run continues without them.

Examples:
  orvhost identify
  orvhost identify --json | jq -r .before

Exit codes: 0 identified; 3 no plug-in; 4 something is missing on this machine;
7 the BMC does not report its version, or the host's records are damaged.)";

}  // namespace

const Command kIdentifyCommand = {"identify",    "Show which device this is and which firmware it runs",
                                  kIdentifyHelp, {},
                                  Identify,      {"plug-in", "prerequisites", "identify"}};

}  // namespace orvhost
