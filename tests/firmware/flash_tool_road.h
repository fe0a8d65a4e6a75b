// The road of an update by the flash tool as its tests state it: the lines of each step, of its failures, and a host
// on which every step succeeds. Most tests go through the maker's tool, which shows completion codes.
#ifndef TESTS_FIRMWARE_FLASH_TOOL_ROAD_H
#define TESTS_FIRMWARE_FLASH_TOOL_ROAD_H

#include <gtest/gtest.h>

#include <string>

#include "firmware/flash_tool_method.h"
#include "firmware/requests.h"
#include "firmware/update.h"
#include "tests/support/scripted_firmware.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

inline const std::string kFolder = "$I/tmp/KV6KBMC/BMC_FW";
inline const std::string kTool = "$I/KV6KBMC/Yafuflash";
inline const std::string kLsmod = "lsmod | grep -e \"^sg \"";
inline const std::string kModprobe = "modprobe sg";
inline const std::string kTouch = "touch \"$I/tmp/KV6KBMC/ExistUpdate.txt\"";

inline const std::string kConnect = "34 8c 55 aa 01";
inline const std::string kCheckDevice = "34 8d";
inline const std::string kDisable = "34 2c 00";
inline const std::string kCheckDisabled = "34 2d";
inline const std::string kDisconnect = "34 8c 55 aa 00";

inline std::string WriteModeRequest() {
  std::string request;
  for (const std::string& byte : ChangeWriteModeRequest()) {
    request += (request.empty() ? "" : " ") + byte;
  }
  return request;
}

// How a request looks in the journal, by the IPMI tool.
using RequestLines = Lines (*)(const std::string& request);

// --- The journal in the order of the road.

inline Lines Staged(RequestLines request = MakersRequest) {
  return {"4 CBMC_KESTREL_Firmware::Update() [START]",
          "ask server type",
          "1 Compare Version",
          "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]",
          request("06 01"),
          "ask server type",
          "4 [01-23][kv6000]",
          "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [01-23] [END]",
          "ask update module",
          "delete folder " + kFolder,
          "mkdir " + kFolder,
          "unpack /packages/bmc.zip to " + kFolder};
}

inline const Lines kListed = "list folder " + kFolder;
inline const Lines kImage = {kListed, "ask operating version"};
inline const Lines kSlept = {"1 Sleep start", "sleep 10000", "1 Sleep end"};

inline Lines Connected(RequestLines request = MakersRequest) {
  return {request(kConnect), kSlept, request(kCheckDevice)};
}

inline Lines WaitDisabled(RequestLines request = MakersRequest) {
  return {request(kDisable), request(kCheckDisabled)};
}

inline const Lines kToolFound = "probe " + kTool;

inline Lines Executed(const std::string& command, int result, int exitCode) {
  return {"exec " + command + " limit 900000",
          "1 Exec [" + command + "]. iret[" + std::to_string(result) + "] dret[" + std::to_string(exitCode) + "]"};
}

inline const Lines kDriverFound = Executed(kLsmod, 0, 0);

inline std::string FlashCommand(const std::string& image = "bmc.ima") {
  return "\"" + kTool + "\"  -cd -preserve-config -silent  \"" + kFolder + "/" + image + "\"";
}

inline Lines Flashed(const std::string& image = "bmc.ima") {
  const std::string command = FlashCommand(image);
  return {"1 " + command, "1 Execute:" + command, "exec " + command + " limit 900000"};
}

inline Lines FlashFailed(int exitCode) {
  return {Flashed(), "16 Failed to execute update command:ReturnCode=" + std::to_string(exitCode)};
}

// Everything between the image and the flash command when nothing goes wrong.
inline Lines Prepared() {
  return {Connected(), WaitDisabled(), kToolFound, kDriverFound};
}

inline Lines Disconnected() {
  return {"sleep 1000", MakersRequest(kDisconnect), "sleep 10000"};
}

inline Lines Completed(int exitCode = 0) {
  return {"1 Yafuflash command return=" + std::to_string(exitCode), "delete folder " + kFolder,
          "1 delete folder complete", "system " + kTouch};
}

inline const Lines kEnd = "4 CBMC_KESTREL_Firmware::Update() [END]";
inline const Lines kDone = {kEnd, "show CBMC_KESTREL_Firmware::Update()|CBMC_KESTREL_Firmware::Update - Debug"};

// --- Failures. What is tried again and what ends the update say the same at different levels.

inline Lines Retried(const std::string& text) {
  return {"16 " + text, "sleep 10000"};
}

inline Lines GivenUp(const std::string& record, const std::string& text) {
  return {"record " + record, "2 " + text, kEnd};
}

inline std::string WriteModeFailed(const std::string& code) {
  return "Failed to execute IPMI command(Change Write mode) CompletionCode:" + code;
}

inline std::string ConnectFailed(const std::string& code) {
  return "Failed to execute ipmi command (Connect to virtual media) CompletionCode:" + code;
}

// A failed connection that is tried again writes an end line, too.
inline Lines ConnectRetried(const std::string& code) {
  return {"16 " + ConnectFailed(code), kEnd, "sleep 10000"};
}

inline std::string DeviceFailed(const std::string& first, const std::string& second) {
  return "Failed to execute IPMI command(Check Connect Virtual Device) ResponseData1:" + first +
         "  ResponseData2:" + second;
}

inline std::string DisableFailed(const std::string& code) {
  return "Failed to execute command(Wait Disabled) CompletionCode:" + code;
}

inline std::string CheckFailed(const std::string& first, const std::string& second) {
  return "Failed to execute IPMI command(Check Wait Disable) ResponseData1:" + first + "  ResponseData2:" + second;
}

class FlashToolMethodTest : public testing::Test {
 protected:
  FlashToolMethodTest() {
    host_.readableFiles.insert(kTool);
    host_.updateModule.moduleVersion = "01-24";
    host_.workFolderEntries = {".", "..", "bmc.ima"};
    host_.AnswerAlways("06 01", "00 20 01 01 23");
    host_.AnswerAlways(kConnect, "00");
    host_.AnswerAlways(kCheckDevice, "00 01");
    host_.AnswerAlways(kDisable, "00");
    host_.AnswerAlways(kCheckDisabled, "00 00");
    host_.AnswerAlways(kDisconnect, "00");
  }

  int Run(const char* ipmiTool = kMakersToolPath) {
    return RunUpdate(firmware_, ipmiTool, "/packages/bmc.zip", nullptr, false);
  }
  // The next runs of the flash command, with the SCSI generic driver there before each, end so.
  void FlashEnds(const CommandEnd& end, int times = 1) {
    host_.Command(kLsmod, {0, 0, ""}, times);
    host_.Command(FlashCommand(), end, times);
  }
  void FlashSucceeds() {
    FlashEnds({0, 0, ""});
    host_.System(kTouch, 0);
  }
  void ExpectJournal(const Lines& expected) { EXPECT_TRUE(SameLines(host_.TakeJournal(), expected)); }

  ScriptedHost host_;
  ScriptedFirmware firmware_;
};

}  // namespace kestrel

#endif  // TESTS_FIRMWARE_FLASH_TOOL_ROAD_H
