// The glue between OpenIPMI's ipmi_sim, which loads this module, and the virtual server: event loop, command handlers,
// and the look at every answer on its way to the machine. No behaviour of the KV6000 is decided here.
#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

// The headers of this OpenIPMI declare C functions without saying so.
extern "C" {
#include <OpenIPMI/lanserv.h>
#include <OpenIPMI/mcserv.h>
}

#include "lab/server/server.h"

namespace {

constexpr unsigned kBmcAddress = 0x20;
// The channel to the machine.
constexpr unsigned kSystemChannel = 15;
// Room of the buffer that the simulator hands to a command handler. What leaves to the machine may be longer.
constexpr std::size_t kHandlerRoom = 36;

class SimLoop : public kv6000::EventLoop {
 public:
  explicit SimLoop(sys_data_t& sys) : sys_(sys) {}

  void Watch(int fd, Callback readable) override {
    auto watch = std::make_unique<WatchEntry>(WatchEntry{std::move(readable), nullptr});
    sys_.add_io_hnd(&sys_, fd, &SimLoop::OnReadable, watch.get(), &watch->io);
    watches_[fd] = std::move(watch);
  }

  void Unwatch(int fd) override {
    const auto found = watches_.find(fd);
    sys_.remove_io_hnd(found->second->io);
    watches_.erase(found);
  }

  void After(std::chrono::milliseconds delay, Callback due) override {
    auto timer = std::make_unique<TimerEntry>(TimerEntry{this, std::move(due), nullptr});
    sys_.alloc_timer(&sys_, &SimLoop::OnDue, timer.get(), &timer->timer);
    timeval time{delay.count() / 1000, delay.count() % 1000 * 1000};
    sys_.start_timer(timer->timer, &time);
    (void)timer.release();  // OnDue() takes it back
  }

 private:
  struct WatchEntry {
    Callback readable;
    ipmi_io_t* io;
  };
  struct TimerEntry {
    SimLoop* loop;
    Callback due;
    ipmi_timer_t* timer;
  };

  static void OnReadable(int /*fd*/, void* data) {
    // A copy, because the callback may end its own watch.
    const Callback readable = static_cast<WatchEntry*>(data)->readable;
    readable();
  }

  static void OnDue(void* data) {
    const std::unique_ptr<TimerEntry> timer(static_cast<TimerEntry*>(data));
    timer->loop->sys_.free_timer(timer->timer);
    timer->due();
  }

  sys_data_t& sys_;
  std::map<int, std::unique_ptr<WatchEntry>> watches_;
};

struct Module {
  std::string configPath;
  std::unique_ptr<SimLoop> loop;
  std::unique_ptr<kv6000::Server> server;
  kv6000::Bytes whole;    // the answer that OnCommand() had to cut for the simulator, else empty
  kv6000::Bytes leaving;  // what the simulator sends, until the next answer
};

Module& TheModule() {
  static Module module;
  return module;
}

void OnCommand(lmc_data_t* /*mc*/, msg_t* message, unsigned char* answer, unsigned int* length, void* /*data*/) {
  auto bytes = TheModule().server->Handle(message->netfn, message->cmd, {message->data, message->len});
  const auto count = std::min(bytes.size(), kHandlerRoom);
  std::memcpy(answer, bytes.data(), count);
  *length = static_cast<unsigned int>(count);
  if (count < bytes.size()) {
    TheModule().whole = std::move(bytes);
  }
}

// Called before a response leaves, which for the command in hand is at once; non-zero keeps it back.
int OnResponse(channel_t* channel, msg_t* message, rsp_msg_t* response) {
  Module& module = TheModule();
  module.leaving = std::exchange(module.whole, {});
  if (module.leaving.empty()) {
    module.leaving.assign(response->data, response->data + response->data_len);
  }
  if (!module.server->Answer(message->netfn, message->cmd, {message->data, message->len}, module.leaving)) {
    channel->free(channel, message);
    return 1;
  }
  response->data = module.leaving.data();
  response->data_len = static_cast<unsigned short>(module.leaving.size());
  return 0;
}

int Start(sys_data_t& sys) {
  Module& module = TheModule();
  const auto config = kv6000::ReadServerConfig(module.configPath);
  lmc_data_t* mc = sys.ipmb_addrs[kBmcAddress];
  channel_t** channels = mc == nullptr ? nullptr : sys.mc_get_channelset(mc);
  if (channels == nullptr || channels[kSystemChannel] == nullptr) {
    std::printf("lab: no management controller at 0x20 or no channel to the machine\n");
    return 1;
  }
  channels[kSystemChannel]->oem.oem_handle_rsp = &OnResponse;
  module.loop = std::make_unique<SimLoop>(sys);
  module.server = std::make_unique<kv6000::Server>(
      config, [mc](const kv6000::Version& version) { ipmi_mc_set_fw_revision(mc, version.major, version.minor); },
      *module.loop);
  for (const auto& [netfn, cmd] : kv6000::Bmc::Commands()) {
    ipmi_emu_register_cmd_handler(netfn, cmd, &OnCommand, nullptr);
  }
  module.server->PowerOn();
  std::printf("lab: ready\n");
  return 0;
}

}  // namespace

#define MODULE_ENTRY extern "C" __attribute__((visibility("default")))

MODULE_ENTRY int ipmi_sim_module_print_version(sys_data_t* /*sys*/, const char* /*options*/) {
  std::printf("virtual KV6000\n");
  return 0;
}

MODULE_ENTRY int ipmi_sim_module_init(sys_data_t* /*sys*/, const char* options) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  TheModule().configPath = options == nullptr ? "" : options;
  return 0;
}

MODULE_ENTRY int ipmi_sim_module_post_init(sys_data_t* sys) {
  try {
    return Start(*sys);
  } catch (const std::exception& error) {
    std::printf("lab: %s\n", error.what());
    return 1;
  }
}
