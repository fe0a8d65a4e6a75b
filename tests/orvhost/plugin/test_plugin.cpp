// A plug-in that answers as its environment asks, for the tests of the tool. It writes the trace lines by which the
// tool recognises what happened, as the real plug-in does.
//
//   TEST_PLUGIN          what is out of the ordinary, words separated by blanks; see Asked()
//   TEST_PLUGIN_VERSION  version that runs, 01-23 without it
//   TEST_PLUGIN_SWAP     file that takes the place of TEST_PLUGIN_SWAPPED at the moment of "swaps-at-MOMENT"
//   TEST_PLUGIN_COMMAND  shell command of the host's of which an update consists that is asked to complain; run before
//                        the flash by one that is asked to be disturbed, and as the flash by "flashes-command"
//   TEST_PLUGIN_GATE     pipe at which a run that is asked to wait does so until its writer closes it
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "host/DllCommon.h"
#include "host/EntryPoints.h"

namespace {

bool Asked(const std::string& wanted) {
  const char* text = getenv("TEST_PLUGIN");
  std::istringstream words(text != nullptr ? text : "");
  for (std::string word; words >> word;) {
    if (word == wanted) {
      return true;
    }
  }
  return false;
}

// The thread that loaded the plug-in.
const unsigned long kLoader = GetCurrentThreadId();

std::string VendorClass() {
  return Asked("class-MINE_Vendor") ? "MINE_Vendor" : "CBMC_KESTREL_Vendor";
}

std::string CommandAsked() {
  const char* command = getenv("TEST_PLUGIN_COMMAND");
  return command != nullptr ? command : "";
}

void Trace(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& text) {
  CTraceUtility::WriteDebug("bmc", level, "%s", text.c_str());
}

// Somebody replaces the package while the run is at work.
void SwapAt(const std::string& moment) {
  if (Asked("swaps-at-" + moment)) {
    rename(getenv("TEST_PLUGIN_SWAP"), getenv("TEST_PLUGIN_SWAPPED"));
  }
}

// Unpacks into the folder "work" below the install path, as an update does.
bool UnpackAsAsked(const std::string& package, std::list<std::string>* files) {
  if (!Asked("unpacks")) {
    return true;
  }
  const std::string folder = CFileUtility::GetInstallPath(0) + "/work";
  std::string message;
  return CUnzip_Utility::DeleteFolder(folder, "bmc") && _mkdir(folder.c_str()) == 0 &&
         CUnzip_Utility::UpdateModuleUnzip(package, files, folder, &message, "bmc");
}

// Ends when the gate's writer closes it.
void WaitAtTheGate() {
  const char* path = getenv("TEST_PLUGIN_GATE");
  const int gate = path != nullptr ? open(path, O_RDONLY | O_CLOEXEC) : -1;
  char byte = 0;
  while (read(gate, &byte, 1) > 0) {
  }
  close(gate);
}

// Connects at the second attempt, with a command of the host's that ends at the gate.
void ConnectAtTheGate() {
  const std::string connect = "Execute command [tool raw 0x34 0x8c 0x55 0xaa 0x01 > result]";
  Trace(CTraceUtility::TRACE_DBG_INFO, connect);
  Trace(CTraceUtility::TRACE_DBG_RETRY, "Failed to execute ipmi command (Connect to virtual media) CompletionCode:C0");
  Trace(CTraceUtility::TRACE_DBG_INFO, connect);
  unsigned long exitCode = 0;
  CCommon_Information::ExecForeignModule("ipmitool() { read byte; }; ipmitool raw < \"$TEST_PLUGIN_GATE\"", "", "",
                                         &exitCode, 350000);
}

// A command of the host's that ends at the gate; false when it was given up.
bool RunAtTheGate() {
  unsigned long exitCode = 0;
  return CCommon_Information::ExecForeignModule("read byte < \"$TEST_PLUGIN_GATE\"", "", "", &exitCode, 350000) == 0;
}

// A request to the BMC that ends at the gate.
bool RequestAtTheGate(const std::string& request) {
  Trace(CTraceUtility::TRACE_DBG_INFO, "Execute command [tool raw " + request + " > result]");
  return RunAtTheGate();
}

// A flash tool that the plug-in starts by itself; false when it does not end well.
bool RunToolAsAsked() {
  if (Asked("starts-tool")) {
    return std::system("read byte < \"$TEST_PLUGIN_GATE\"; exit 3") == 3 << 8;
  }
  if (!Asked("forks-tool")) {
    return true;
  }
  const pid_t tool = fork();
  if (tool == 0) {
    // What it starts can be ended as usual.
    execl("/bin/sh", "sh", "-c", "read byte < \"$TEST_PLUGIN_GATE\"; sh -c 'kill $$'; [ $? -eq 143 ] && exit 3",
          nullptr);
    _exit(99);
  }
  int status = 0;
  return waitpid(tool, &status, 0) == tool && status == 3 << 8;
}

// A flash tool, or a child of the plug-in's own, that is at work when the program ends.
void WaitAsAsked() {
  if (Asked("waits")) {
    WaitAtTheGate();
  }
  if (Asked("runs-tool")) {
    (void)!std::system("read byte < \"$TEST_PLUGIN_GATE\"");
  }
  if (!Asked("forks")) {
    return;
  }
  if (fork() == 0) {
    WaitAtTheGate();
    _exit(0);
  }
  pause();
}

void RunTraced(const std::string& command) {
  Trace(CTraceUtility::TRACE_DBG_INFO, "Execute command [" + command + "]");
  unsigned long exitCode = 0;
  CCommon_Information::ExecForeignModule(command, "", "", &exitCode, ~0UL);
}

// Writes the image of the unpacked package with the flash tool, as an update does.
int WriteImage() {
  const std::string folder = CFileUtility::GetInstallPath(0);
  const std::string command = "\"" + folder + "/KV6KBMC/Yafuflash\"  -cd  \"" + folder + "/work/image.ima\"";
  Trace(CTraceUtility::TRACE_DBG_INFO, "Execute:" + command);
  unsigned long exitCode = 1;
  if (CCommon_Information::ExecForeignModule(command, "", "", &exitCode, ~0UL) == 0 && exitCode == 0) {
    return 0;
  }
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0013_F", "161616");
  Trace(CTraceUtility::TRACE_DBG_ERROR, "Failed to execute update command " + command);
  return 1;
}

// A command that fails, and what is run after it by the plug-in itself and by the host.
int Complain() {
  RunTraced(CommandAsked());
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0012_F", "14");
  Trace(CTraceUtility::TRACE_DBG_ERROR, "Failed to execute ipmi command (Connect to virtual media) CompletionCode:");
  (void)!std::system("echo tidying up >&2");
  RunTraced("echo all is well >&2");
  return 1;
}

class TestFirmware : public CFirmware {
 public:
  using CFirmware::CFirmware;

  std::string GetOperatingVersion() override {
    SwapAt("version");
    Trace(CTraceUtility::TRACE_DBG_INFO, "Execute command [tool raw 0x06 0x01 > result]");
    if (Asked("traces-controls")) {
      Trace(CTraceUtility::TRACE_DBG_INFO, "A text that steers \u009b1A and \u202ehides");
    }
    if (Asked("unreadable")) {
      Trace(CTraceUtility::TRACE_DBG_ERROR, "Failed to execute ipmi command(GetDeviceID) CompletionCode:C3");
      return "abnormal";
    }
    if (Asked("invents-version")) {
      CCommon_Information::GetResultLine("ipmitool raw 0x06 0x01");
    }
    if (Asked("empty-version")) {
      return "";
    }
    const char* version = getenv("TEST_PLUGIN_VERSION");
    return version != nullptr ? version : "01-23";
  }

  int CheckVendorVersion(std::string first, std::string second) override {
    Trace(CTraceUtility::TRACE_DBG_FLOW, "CheckVendorVersion [" + first + "] [" + second + "]");
    if (Asked("no-difference")) {
      return 0;
    }
    if (Asked("compares-nothing")) {
      Trace(CTraceUtility::TRACE_DBG_ERROR, "Failed to get Server Type");
      return 0;
    }
    if (Asked("orders-all")) {
      return 1;
    }
    const auto isGood = [](const std::string& text) { return text.size() == 5 || text.starts_with("BMC:"); };
    const bool secondIsGood = isGood(second) && !Asked("finds-malformed");
    const std::string malformed = std::string(isGood(first) ? "" : "09") + (secondIsGood ? "" : "0A");
    if (malformed.empty()) {
      return first < second ? 1 : -1;
    }
    CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0008_F", malformed.c_str());
    return 0;
  }

  int PreUpdate(std::string /*moduleId*/, std::string /*package*/, std::list<std::string>* /*files*/,
                bool /*old*/) override {
    SwapAt("prepare");
    if (Asked("is-disturbed")) {
      (void)!std::system(CommandAsked().c_str());
    }
    if (!Asked("unprepared")) {
      return Asked("odd-gate") ? 5 : 0;
    }
    CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0016_F", "0B");
    return 1;
  }

  int Update(std::string /*moduleId*/, std::string package, std::list<std::string>* files, bool /*old*/) override {
    SwapAt("update");
    if (!UnpackAsAsked(package, files)) {
      return 1;
    }
    if (Asked("throws")) {
      throw std::out_of_range("basic_string::substr");
    }
    if (Asked("aborts")) {
      (void)!write(STDERR_FILENO, "last words\n", 11);
      std::abort();
    }
    if (Asked("complains")) {
      return Complain();
    }
    if (Asked("connect-fails")) {
      Trace(CTraceUtility::TRACE_DBG_INFO, "Execute command [tool raw 0x34 0x8c 0x55 0xaa 0x01 > result]");
      CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0012_F", "14");
      Trace(CTraceUtility::TRACE_DBG_ERROR,
            "Failed to execute ipmi command (Connect to virtual media) CompletionCode:C0");
      return 1;
    }
    if (Asked("waits-before") && !RequestAtTheGate("0x34 0x8c 0x55 0xaa 0x01")) {
      return 1;
    }
    if (Asked("writes-image")) {
      return WriteImage();
    }
    Trace(CTraceUtility::TRACE_DBG_INFO, "Execute:\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"image.ima\"");
    WaitAsAsked();
    if (Asked("flashes-command")) {
      RunTraced(CommandAsked());
    }
    if ((Asked("flashes") && !RunAtTheGate()) || !RunToolAsAsked()) {
      return 1;
    }
    if (Asked("connects-slowly")) {
      ConnectAtTheGate();
    }
    if (Asked("loses-records")) {
      std::remove((CFileUtility::GetInstallPath(0) + "/repository/state.json").c_str());
    }
    if (Asked("throws-late")) {
      throw std::out_of_range("basic_string::substr");
    }
    if (Asked("flash-fails")) {
      CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0013_F", "161616");
      Trace(CTraceUtility::TRACE_DBG_ERROR, "Failed to execute update command \"/opt/orv/KV6KBMC/Yafuflash\"");
      return 1;
    }
    return Asked("overruns") ? 1024 : 0;
  }

  int UpdateRestore(std::string /*backup*/) override { return 0; }

  int UpdateApplyCheck(std::string /*moduleId*/) override {
    const std::string running = GetOperatingVersion();
    const std::string recorded = GetOperatingModuleInfo().moduleVersion;
    if (running == recorded) {
      return 0;
    }
    if (running == "abnormal") {
      CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0014_F", "1C");
    } else {
      CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0015_F", running.c_str(), recorded.c_str());
    }
    return 1;
  }

  int UpdateApply() override {
    if (Asked("arms-slowly") && !RequestAtTheGate("0x34 0x5e 0x55 0xaa 0x01")) {
      return 0;
    }
    if (Asked("unarmed")) {
      CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0003_F", "18");
      return 0;
    }
    if (Asked("stays-up")) {
      Trace(CTraceUtility::TRACE_DBG_ERROR, "Failed to delete ExistUpdate.txt");
      return 1;
    }
    Trace(CTraceUtility::TRACE_DBG_INFO, Asked("unmarked") ? "shutdown -r now " : "shutdown -h now");
    return 1;
  }
};

// The lines that say which records were sent, or not.
long SendInformation() {
  if (Asked("silent")) {
    return 0;
  }
  Trace(CTraceUtility::TRACE_DBG_FLOW, "CBMC_KESTREL_Firmware::ExecSendOSInfo [START]");
  if (Asked("locks-slowly") && !RequestAtTheGate("0x3c 0x6a 0x05 0x01 0x01")) {
    return -1;
  }
  if (Asked("no-answer")) {
    for (const char* what : {"OS", "HDD"}) {
      Trace(CTraceUtility::TRACE_DBG_RETRY, "Get Capability Failed");
      Trace(CTraceUtility::TRACE_DBG_INFO, std::string("Send ") + what + " Information not supported");
      Trace(CTraceUtility::TRACE_DBG_FLOW, "CBMC_KESTREL_Firmware::ExecSendHddInfo [START]");
    }
    return 0;
  }
  Trace(CTraceUtility::TRACE_DBG_FLOW,
        Asked("no-capability") ? "17:02 SendInfoToSVP Support info" : "17:03 SendInfoToSVP Support info");
  if (Asked("no-capability")) {
    Trace(CTraceUtility::TRACE_DBG_INFO, "Send OS Information not supported");
  }
  Trace(CTraceUtility::TRACE_DBG_INFO, Asked("nameless") ? "osname=[]" : "osname=[An OS 1]");
  Trace(CTraceUtility::TRACE_DBG_FLOW, "CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]");
  Trace(CTraceUtility::TRACE_DBG_FLOW, "CBMC_KESTREL_Firmware::ExecSendHddInfo [START]");
  if (Asked("locked")) {
    for (int attempt = 1; attempt < 3; ++attempt) {
      Trace(CTraceUtility::TRACE_DBG_RETRY,
            "Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:81");
    }
    CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0021_F", "29");
    return -1;
  }
  if (Asked("no-capability") || Asked("no-disks")) {
    Trace(CTraceUtility::TRACE_DBG_INFO, "Send HDD Information not supported");
  }
  Trace(CTraceUtility::TRACE_DBG_FLOW, "CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]");
  return 0;
}

COrvXmlNode Section(const std::string& name, const std::list<std::pair<std::string, std::string>>& items) {
  COrvXmlNode section(name);
  for (const auto& [label, value] : items) {
    COrvXmlNode item("attr");
    item.addAttribute("name", label);
    item.addAttribute("value", value);
    section.addChildNode(item);
  }
  return section;
}

int WriteReport(const std::string& path) {
  if (Asked("no-report")) {
    return 2048;
  }
  if (Asked("short-answer")) {
    throw std::out_of_range("basic_string::substr");
  }
  if (Asked("lost-report")) {
    return 0;
  }
  if (Asked("no-lan")) {
    Trace(CTraceUtility::TRACE_DBG_ERROR, "Failed to execute IPMI Command (Get MAC Address) return:[C1]");
    CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0018_F", "26");
    return 1;
  }
  COrvXmlNode root("data");
  root.addChildNode(Section("general-inf", {{"Product Name", "KV6000 <\"R&D\">"}, {"Product Version", ""}}));
  root.addChildNode(Section("web-cosole-setting", {{"mac_address", "00:19:99:AA:BB:CC"}, {"dhcp", "Disabled"}}));
  if (COrvXmlWrite().writeXML(path, root)) {
    return 0;
  }
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0018_F", "27");
  Trace(CTraceUtility::TRACE_DBG_ERROR, "Failed to write file [" + path + "]");
  return 1;
}

bool IsOfOtherModel(const std::string& running, const std::string& serialNumber, const std::string& model,
                    const std::string& wanted) {
  const bool differs = wanted != model;
  Trace(CTraceUtility::TRACE_DBG_INFO, "Ver[" + running + "],Serial[" + serialNumber + "],Model[" + model + "],Rep[" +
                                           wanted + "],iRet[" + (differs ? "1" : "0") + "]");
  return differs;
}

class TestVendor : public CVendor {
 public:
  explicit TestVendor(const std::string& providerText) : CVendor(providerText) {
    vendorClassName = Asked("other-name") ? "CVendor" : VendorClass();
    deviceName = "KV6KBmc";
  }
  ~TestVendor() override {
    if (Asked("keeps-handler")) {
      firmwareHandler = nullptr;
    }
  }

  std::string GetHardwareVersion() override { return ""; }
  int CheckHardwareVersion(std::string /*first*/, std::string /*second*/) override {
    return Asked("incompatible") ? 1 : 0;
  }

  void LinkDevice() override {
    SwapAt("link");
    if (Asked("links-slowly")) {
      (void)RunAtTheGate();
    }
    Trace(CTraceUtility::TRACE_DBG_FLOW, "LinkDevice [START]");
    if (Asked("links-late")) {
      Sleep(6000);
    }
    if (Asked("makes-install-path")) {
      _mkdir(CFileUtility::GetInstallPath(0).c_str());
    }
    if (!Asked("no-handler")) {
      firmwareHandler = new TestFirmware(provider);
    }
  }

  long ExecVendorMethod(std::string name, ...) override {
    Trace(CTraceUtility::TRACE_DBG_FLOW, "ExecVendorMethod [START]");
    if (name == "Reboot") {
      return firmwareHandler->UpdateApply() != 0 ? 0 : -1;
    }
    if (name == "SendInfoToSVP") {
      return SendInformation();
    }
    Trace(CTraceUtility::TRACE_DBG_ERROR, "Invalid function name");
    return Asked("any-method") ? 0 : -1;
  }

  void GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) override {
    *info = {{"Serial Number", "0123456789ABC"}};
  }

  int StartOutputDeviceConfigInfo(std::string path, void* /*context*/) override {
    Trace(CTraceUtility::TRACE_DBG_FLOW, "StartOutputDeviceConfigInfo " + path);
    if (firmwareHandler->GetOperatingVersion() != "abnormal") {
      return 0;
    }
    CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0019_F", "1C");
    return 1;
  }
  int ExecOutputDeviceConfigInfo(std::string path, void* /*context*/) override {
    Trace(CTraceUtility::TRACE_DBG_FLOW, "ExecOutputDeviceConfigInfo " + path);
    return WriteReport(path + "Kestrel_BmcConfigInfo.xml");
  }
  int EndOutputDeviceConfigInfo(std::string path, void* /*context*/) override {
    Trace(CTraceUtility::TRACE_DBG_FLOW, "EndOutputDeviceConfigInfo " + path);
    return 0;
  }

  void GetShortageOfNecessaryApplicationInfo(std::list<CNecessaryComponentInfo>& missing) override {
    SwapAt("prerequisites");
    if (Asked("clears-list")) {
      missing.clear();
    }
    if (Asked("no-tool")) {
      missing.push_back({"IPMI tool", ""});
    }
  }

  bool CheckUpdateConditionByDevicevendor(std::string /*kind*/, CManageRepositoryInfo* repository) override {
    SwapAt("fit");
    const std::string running = firmwareHandler->GetOperatingVersion();
    if (running == "abnormal") {
      return true;
    }
    if (Asked("is-long")) {
      return IsOfOtherModel(running, "SN0123456789AE00", "long/ssd", repository->model);
    }
    if (Asked("is-ordinary")) {
      return IsOfOtherModel(running, "SN0123456789AA00", "", repository->model);
    }
    if (Asked("short-serial") || Asked("no-serial")) {
      Trace(CTraceUtility::TRACE_DBG_ERROR,
            std::string("Failed to get serial number [") + (Asked("no-serial") ? "" : "SN01") + "]");
      return true;
    }
    if (Asked("other-version") || repository->moduleVersion.compare(0, 2, running, 0, 2) != 0) {
      Trace(CTraceUtility::TRACE_DBG_INFO, "OperatingVersion:" + (Asked("other-version") ? "BMC:1" : running) +
                                               ",UpdateVersion:" + repository->moduleVersion);
      return true;
    }
    return false;
  }
};

}  // namespace

namespace {

// What a plug-in must not do when it is asked for an object.
void Misbehave() {
  if (Asked("crashes")) {
    std::signal(SIGSEGV, SIG_DFL);  // a sanitizer would make an exit of it
    std::raise(SIGSEGV);
  }
  if (Asked("exits")) {
    std::exit(5);
  }
  if (Asked("throws-in-factory")) {
    throw std::out_of_range("basic_string::substr");
  }
  while (Asked("hangs")) {
    pause();
  }
  if (Asked("keeps-descriptor")) {
    open("/dev/null", O_RDONLY);
  }
  if (Asked("runs-command")) {
    CCommon_Information::GetResultLine("echo 18 01 | ipmicmd");
  }
  if (Asked("writes-outside")) {
    close(creat((CFileUtility::GetInstallPath(0) + "/beside").c_str(), 0600));
  }
}

bool IsWanted(const char* className, const char* provider) {
  if (provider == nullptr) {
    return Asked("any-provider");
  }
  if (className == nullptr) {
    return Asked("null-class");
  }
  return Asked("any-class") || VendorClass() == className;
}

}  // namespace

CVendor* GetVendorFactory(const char* className, const char* provider) {
  SwapAt("load");
  if ((Asked("one-thread") && GetCurrentThreadId() != kLoader) || Asked("no-vendor") ||
      !IsWanted(className, provider)) {
    return nullptr;
  }
  Misbehave();
  return new TestVendor(provider != nullptr ? provider : "");
}

#ifndef TEST_PLUGIN_WITHOUT_RELEASE
void ReleaseVendor(CVendor* vendor) {
  Trace(CTraceUtility::TRACE_DBG_FLOW, "ReleaseVendor");
  if (vendor == nullptr && Asked("releases-null")) {
    std::abort();
  }
  if (!Asked("keeps-vendor")) {
    delete vendor;
  }
}
#endif

#ifdef TEST_PLUGIN_EXTRA_EXPORT
extern "C" __attribute__((visibility("default"))) int SomethingElse() {
  return 0;
}
#endif
