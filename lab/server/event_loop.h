// What the units around the BMC need of the simulator's event loop: watched descriptors and one-shot timers.
// sim_module.cpp implements it over OpenIPMI's.
#ifndef LAB_SERVER_EVENT_LOOP_H
#define LAB_SERVER_EVENT_LOOP_H

#include <chrono>
#include <functional>

namespace kv6000 {

class EventLoop {
 public:
  using Callback = std::function<void()>;

  virtual ~EventLoop() = default;

  // Calls `readable` whenever `fd` has something to read. One watch for each descriptor. The descriptor stays the
  // caller's; Unwatch() it before closing it. Both may be called from inside a callback.
  virtual void Watch(int fd, Callback readable) = 0;
  virtual void Unwatch(int fd) = 0;

  // Calls `due` once after `delay`.
  virtual void After(std::chrono::milliseconds delay, Callback due) = 0;
};

}  // namespace kv6000

#endif  // LAB_SERVER_EVENT_LOOP_H
