// Writes a new firmware with the flash tool installed beside the plug-in, after the BMC has been switched over to
// virtual media. The package lies unpacked in the work folder; how it came there is update.h.
#ifndef FIRMWARE_FLASH_TOOL_METHOD_H
#define FIRMWARE_FLASH_TOOL_METHOD_H

#include <string>

#include "firmware/update_command.h"
#include "firmware/virtual_media.h"
#include "host/ProviderBase.h"

namespace kestrel {

// One run. Nothing is rolled back: after a failure the work folder and a connected virtual device stay as they are.
class FlashToolMethod {
 public:
  // `firmware` is asked for the version that runs and must outlive the object; `toolPath` is that of the IPMI tool.
  FlashToolMethod(CFirmware& firmware, std::string toolPath, std::string workFolder);

  // host::kSuccess and host::kUpdateTimedOut leave the update marker; the virtual device stays connected. With
  // host::kFailure the trace says why.
  [[nodiscard]] int Run();

  FlashToolMethod(const FlashToolMethod&) = delete;
  FlashToolMethod& operator=(const FlashToolMethod&) = delete;

 private:
  [[nodiscard]] bool FindImage();
  [[nodiscard]] bool ReadRunningVersion();
  [[nodiscard]] bool ChangeWriteMode();
  [[nodiscard]] bool FindFlashTool();
  [[nodiscard]] bool LoadScsiGenericDriver();
  [[nodiscard]] CommandOutcome Flash();
  [[nodiscard]] bool MayFlashAgain(const CommandOutcome& flash);
  [[nodiscard]] bool PrepareNextRun();
  [[nodiscard]] int Complete(const CommandOutcome& flash);

  CFirmware& firmware_;
  const std::string toolPath_;
  const std::string workFolder_;
  std::string runningVersion_;
  std::string image_;
  std::string flashCommand_;
  int flashFailures_ = 0;
  std::string detail_;  // the failing step; some steps put their code in front of what earlier ones left
  VirtualMedia media_;  // after the detail, which it refers to
};

}  // namespace kestrel

#endif  // FIRMWARE_FLASH_TOOL_METHOD_H
