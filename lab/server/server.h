// The whole server seen from the simulator: the BMC, the machine it manages, the orders from outside and the record of
// all commands. sim_module.cpp connects it to OpenIPMI.
#ifndef LAB_SERVER_SERVER_H
#define LAB_SERVER_SERVER_H

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "lab/bmc/kv6000_bmc.h"
#include "lab/server/event_loop.h"
#include "lab/server/fault_plan.h"
#include "lab/server/machine.h"
#include "lab/server/order_socket.h"
#include "lab/server/server_config.h"

namespace kv6000 {

class Server : private Outside {
 public:
  // `setVersion` changes what Get Device ID answers.
  Server(const ServerConfig& config, std::function<void(const Version&)> setVersion, EventLoop& loop);

  // One of the BMC's own commands. A call that is ordered to fail or to stay unanswered has no effect.
  [[nodiscard]] Bytes Handle(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data);

  // To be called with every answer, own command or not, before it goes to the machine: applies the ordered faults and
  // keeps the record. False when no answer is to go out.
  [[nodiscard]] bool Answer(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data, Bytes& answer);

  // Carries out one order line; see docs/lab.md. Returns "ok", "error: ..." or a JSON object.
  [[nodiscard]] std::string Order(const std::string& line);

  void PowerOn() override;

 private:
  void AttachMedia() override;
  void DetachMedia() override;
  Bytes ReadMedia(std::uint32_t offset, std::uint32_t length) override;
  void SetRunningVersion(const Version& version) override;

  void OnMachineOff();
  void OnMachineReset();
  void StepFlash();
  void CutPower();

  // What follows the name of an order, and what carries it out. A plain order takes no words.
  using Words = std::span<const std::string>;
  struct OrderEntry {
    const char* name;
    std::string (Server::*handler)(Words words);
    bool plain = false;
  };
  [[nodiscard]] static std::span<const OrderEntry> Orders();

  template <Fault::Kind kind>
  [[nodiscard]] std::string OrderFault(Words words);
  [[nodiscard]] std::string OrderClear(Words words);
  [[nodiscard]] std::string OrderPowerLoss(Words words);
  [[nodiscard]] std::string OrderPowerOn(Words words);
  [[nodiscard]] std::string OrderDhcp(Words words);
  [[nodiscard]] std::string OrderCapability(Words words);
  [[nodiscard]] std::string OrderFiles(Words words);
  [[nodiscard]] std::string OrderState(Words words);

  EventLoop& loop_;
  std::function<void(const Version&)> setVersion_;
  Machine machine_;
  Bmc bmc_;
  FaultPlan faults_;
  OrderSocket orders_;
  unsigned boots_ = 0;
  bool stepping_ = false;
  std::optional<unsigned> powerLossAtPercent_;
  std::deque<std::string> record_;
};

}  // namespace kv6000

#endif  // LAB_SERVER_SERVER_H
