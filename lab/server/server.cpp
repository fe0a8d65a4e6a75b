// See server.h.
#include "lab/server/server.h"

#include <array>
#include <chrono>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>
#include <vector>

#include "lab/hex_bytes.h"
#include "lab/server/description.h"
#include "lab/server/order_words.h"

namespace kv6000 {

namespace {

constexpr const char* kDone = "ok";
// One image of a megabyte takes about a second and a half: long enough for a power cut to hit the middle.
constexpr std::chrono::milliseconds kFlashPace(20);
constexpr std::size_t kLongestRecord = 5000;

Bytes RequestBytes(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data) {
  Bytes request(data.begin(), data.end());
  request.insert(request.begin(), {netfn, cmd});
  return request;
}

}  // namespace

Server::Server(const ServerConfig& config, std::function<void(const Version&)> setVersion, EventLoop& loop)
    : loop_(loop),
      setVersion_(std::move(setVersion)),
      machine_(config.machine, {[this] { OnMachineOff(); }, [this] { OnMachineReset(); }, [this] { bmc_.MediaSeen(); }},
               loop),
      bmc_(config.bmc, *this),
      orders_(
          config.orderPath, [this](const std::string& line) { return Order(line); }, loop) {
  setVersion_(config.bmc.running);
}

Bytes Server::Handle(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data) {
  const auto fault = faults_.Next(RequestBytes(netfn, cmd, data));
  if (fault && !fault->HasEffect()) {
    return {kBusy};  // Answer() puts the ordered answer in its place
  }
  Bytes answer = bmc_.Handle(netfn, cmd, data);
  if (bmc_.CurrentState().flash == Flash::kRunning && !stepping_) {
    stepping_ = true;
    loop_.After(kFlashPace, [this] { StepFlash(); });
  }
  return answer;
}

bool Server::Answer(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data, Bytes& answer) {
  const Bytes request = RequestBytes(netfn, cmd, data);
  const bool answered = faults_.Apply(request, answer);
  record_.push_back(FormatHex(request) + " -> " + (answered ? FormatHex(answer) : "silence"));
  if (record_.size() > kLongestRecord) {
    record_.pop_front();
  }
  return answered;
}

void Server::PowerOn() {
  if (!machine_.IsRunning() && machine_.Start()) {
    ++boots_;
  }
}

void Server::AttachMedia() {
  machine_.AttachMedia();
}

void Server::DetachMedia() {
  machine_.DetachMedia();
}

Bytes Server::ReadMedia(std::uint32_t offset, std::uint32_t length) {
  return machine_.ReadMedia(offset, length);
}

void Server::SetRunningVersion(const Version& version) {
  setVersion_(version);
}

void Server::OnMachineOff() {
  bmc_.MachineOff();
}

void Server::OnMachineReset() {
  ++boots_;
  bmc_.MachineReset();
}

void Server::StepFlash() {
  bmc_.FlashStep();
  if (bmc_.CurrentState().flash == Flash::kRunning && powerLossAtPercent_ &&
      bmc_.CurrentState().flashPercent >= *powerLossAtPercent_) {
    CutPower();
  }
  stepping_ = bmc_.CurrentState().flash == Flash::kRunning;
  if (stepping_) {
    loop_.After(kFlashPace, [this] { StepFlash(); });
  }
}

void Server::CutPower() {
  powerLossAtPercent_.reset();
  bmc_.PowerLost();
  machine_.CutPower();
}

std::span<const Server::OrderEntry> Server::Orders() {
  static constexpr std::array<OrderEntry, 11> kOrders = {{
      {"fail", &Server::OrderFault<Fault::Kind::kFail>},
      {"short", &Server::OrderFault<Fault::Kind::kShort>},
      {"long", &Server::OrderFault<Fault::Kind::kLong>},
      {"silent", &Server::OrderFault<Fault::Kind::kSilent>},
      {"clear", &Server::OrderClear, true},
      {"power-loss", &Server::OrderPowerLoss},
      {"power-on", &Server::OrderPowerOn, true},
      {"dhcp", &Server::OrderDhcp},
      {"capability", &Server::OrderCapability},
      {"files", &Server::OrderFiles, true},
      {"state", &Server::OrderState, true},
  }};
  return kOrders;
}

std::string Server::Order(const std::string& line) {
  std::istringstream stream(line);
  const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
  const std::string name = words.empty() ? "" : words[0];
  const auto rest = std::span(words).subspan(words.empty() ? 0 : 1);
  std::string names;
  for (const auto& entry : Orders()) {
    if (name == entry.name) {
      return entry.plain && !rest.empty() ? "error: '" + name + "' takes no further words"
                                          : (this->*entry.handler)(rest);
    }
    names += (names.empty() ? "" : ", ") + std::string(entry.name);
  }
  return "error: no order '" + name + "'; there are " + names;
}

template <Fault::Kind kind>
std::string Server::OrderFault(Words words) {
  std::string error;
  const auto order = ParseFaultOrder(kind, words, &error);
  if (!order) {
    return "error: " + error;
  }
  faults_.Order(order->head, order->fault, order->count);
  return kDone;
}

std::string Server::OrderClear(Words /*words*/) {
  faults_.Clear();
  powerLossAtPercent_.reset();
  return kDone;
}

std::string Server::OrderPowerLoss(Words words) {
  if (words.empty()) {
    CutPower();
    return kDone;
  }
  const auto percent = ParseNumber(words[0], 10, 99);
  if (words.size() > 1 || !percent) {
    return "error: expected nothing or the percentage of the flash (0 to 99) at which the power goes";
  }
  powerLossAtPercent_ = percent;
  return kDone;
}

std::string Server::OrderPowerOn(Words /*words*/) {
  PowerOn();
  return machine_.IsRunning() ? kDone : "error: the machine does not start";
}

std::string Server::OrderDhcp(Words words) {
  const auto flag = words.size() == 1 ? ParseNumber(words[0], 16, 0xff) : std::nullopt;
  if (!flag) {
    return "error: expected the DHCP flag, one hexadecimal byte";
  }
  bmc_.TheNetwork().SetDhcp(static_cast<std::uint8_t>(*flag));
  return kDone;
}

std::string Server::OrderCapability(Words words) {
  const auto flags = words.size() == 1 ? ParseNumber(words[0], 16, 0xff) : std::nullopt;
  if (!flags) {
    return "error: expected the support flags, one hexadecimal byte";
  }
  bmc_.Files().SetSupport(static_cast<std::uint8_t>(*flags));
  return kDone;
}

std::string Server::OrderFiles(Words /*words*/) {
  // The names in a record are the host's and may be anything.
  return DescribeFiles(bmc_.Files()).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string Server::OrderState(Words /*words*/) {
  nlohmann::json state = DescribeState(bmc_);
  state["power"] = machine_.IsRunning() ? "on" : "off";
  state["boots"] = boots_;
  state["commands"] = record_;
  return state.dump();
}

}  // namespace kv6000
