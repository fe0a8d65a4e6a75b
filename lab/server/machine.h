// The machine that the BMC manages: a QEMU process for each boot, its power, and its virtual media drive over QMP.
// Decides nothing; the BMC does.
#ifndef LAB_SERVER_MACHINE_H
#define LAB_SERVER_MACHINE_H

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "lab/server/event_loop.h"
#include "posix/file_descriptor.h"

namespace kv6000 {

class Machine {
 public:
  struct Config {
    std::vector<std::string> command;  // QEMU and its arguments, without QMP channel and reset handling
    std::string logPath;               // QEMU's own output is appended here
    std::string mediaPath;             // backing file of the block node "media"
    std::string readyPath;             // removed at every power-on; the guest writes it once it takes commands
  };

  // All are called from the event loop.
  struct Listener {
    std::function<void()> off;        // the power is off
    std::function<void()> rebooted;   // reset without power-off; an attached drive stays attached
    std::function<void()> mediaSeen;  // the guest has read the drive that AttachMedia() plugged in
  };

  Machine(Config config, Listener listener, EventLoop& loop);
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  // Powers on. No effect on a running machine. False, with the cause on standard output, when there is no process.
  [[nodiscard]] bool Start();

  // Cuts the power, after which the machine is off; Listener::off is called before this returns. No effect on a machine
  // that is off.
  void CutPower();

  [[nodiscard]] bool IsRunning() const { return pid_ > 0; }

  void AttachMedia();
  void DetachMedia();

  // `length` bytes of the media from `offset`, fewer when it ends before or is not attached.
  [[nodiscard]] std::vector<std::uint8_t> ReadMedia(std::uint32_t offset, std::uint32_t length) const;

 private:
  [[nodiscard]] bool StartProcess();
  void Kill();
  void OnExit();
  void OnQmp();
  void DropQmp();
  void OnQmpLine(const std::string& line);
  void PlugMediaIn();
  void Send(const std::string& command);
  void AskWhetherMediaWasRead();

  Config config_;
  Listener listener_;
  EventLoop& loop_;
  pid_t pid_ = -1;
  posix::FileDescriptor pidFd_;
  posix::FileDescriptor qmp_;
  std::string qmpInput_;
  bool resetting_ = false;
  bool mediaAttached_ = false;
  bool mediaWasRead_ = false;
  unsigned mediaGeneration_ = 0;  // lets a pending question recognise that its drive has gone
};

}  // namespace kv6000

#endif  // LAB_SERVER_MACHINE_H
