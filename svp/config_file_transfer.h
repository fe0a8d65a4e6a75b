// Moves one record into a server config file of the BMC: lock, write in pieces, write the signature, unlock, notify.
// What the record holds, and whether the BMC takes the file at all, is the sender's.
#ifndef SVP_CONFIG_FILE_TRANSFER_H
#define SVP_CONFIG_FILE_TRANSFER_H

#include <list>
#include <string>

#include "ipmi/ipmi_exchange.h"
#include "ipmi/trace.h"

namespace kestrel {

struct ConfigFile {
  const char* id;     // byte that names the file in its requests
  const char* event;  // byte that announces it
  int supportBit;     // of ReadSupportFlags()
};

inline constexpr ConfigFile kOsInformationFile{"40", "01", 0x01};
inline constexpr ConfigFile kDiskInformationFile{"41", "02", 0x02};

// Results of the senders.
inline constexpr int kSent = 0;
inline constexpr int kNotSupported = 1;  // by this BMC; no failure
inline constexpr int kSendFailed = -1;

[[nodiscard]] constexpr bool IsNoFailure(int result) {
  return result == kSent || result == kNotSupported;
}

// What the trace tells of a locking, writing or notifying step that failed for good, ahead of the trace record.
enum class FinalFailure {
  kMessageAndEnd,  // the step's message as an error, then the sender's end line
  kRecordOnly,     // nothing, and no end line
};

// One transfer. A step is tried three times; its failed attempts that are tried again are always traced.
class ConfigFileTransfer {
 public:
  // `trace` is the sender's own operation and `detail` its detail text; both must outlive the transfer.
  ConfigFileTransfer(std::string toolPath, const ConfigFile& file, FinalFailure finalFailure, OperationTrace* trace,
                     std::string* detail);

  // Sends `record`, a list of byte texts; an empty one makes a file of a signature only. kSent, or kSendFailed with
  // "29" in front of the detail text and the record written. A transfer that failed with the file locked tries to
  // unlock it; a failed lock, unlock or notification leaves the file as it is.
  [[nodiscard]] int Run(std::list<std::string> record);

 private:
  [[nodiscard]] bool Lock();
  [[nodiscard]] bool Write(std::list<std::string> record);
  [[nodiscard]] bool WritePiece(const IpmiRequest& request);
  [[nodiscard]] bool WriteSignature();
  [[nodiscard]] bool Notify();

  [[nodiscard]] bool Tells(Level level) const;
  [[nodiscard]] int FailStep();
  [[nodiscard]] int Fail();

  const std::string toolPath_;
  const ConfigFile file_;
  const FinalFailure finalFailure_;
  OperationTrace& trace_;
  std::string& detail_;
};

// Unlocks the file with the id byte `fileId`: 0 when it is unlocked, -1 when three attempts failed, of which the last
// is not traced.
int UnlockConfigFile(const std::string& toolPath, const std::string& fileId);

}  // namespace kestrel

#endif  // SVP_CONFIG_FILE_TRANSFER_H
