// Writes a new firmware and SDR with the package's own script, on the server family whose packages bring one. The
// package lies unpacked in the work folder; how it came there is update.h.
#ifndef FIRMWARE_SCRIPT_METHOD_H
#define FIRMWARE_SCRIPT_METHOD_H

#include <string>

#include "firmware/update_command.h"
#include "ipmi/trace.h"

namespace kestrel {

// One run. It leaves the work folder in place, so that the script's logs can be read, and no update marker.
class ScriptMethod {
 public:
  // `trace` is the operation's, which must outlive the object.
  ScriptMethod(std::string workFolder, OperationTrace& trace);

  // host::kSuccess when the script ended well and both its logs say so; host::kFailure otherwise, with the reason in
  // the trace.
  [[nodiscard]] int Run();

 private:
  [[nodiscard]] bool MakeExecutable();
  void ChooseLogs();
  [[nodiscard]] bool FindScript();
  void RunScript();
  [[nodiscard]] bool ReadLog(const std::string& path, const char* goodText, const char* unreadableDetail, bool* good);
  [[nodiscard]] int Judge();
  void TraceFailedCommand();

  const std::string workFolder_;
  const std::string script_;
  const std::string command_;
  OperationTrace& trace_;
  std::string sdrLog_;
  std::string flashLog_;
  CommandOutcome outcome_{};
  bool sdrWritten_ = false;
  bool flashed_ = false;
};

}  // namespace kestrel

#endif  // FIRMWARE_SCRIPT_METHOD_H
