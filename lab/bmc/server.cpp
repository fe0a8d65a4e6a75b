// See server.h.
#include "lab/bmc/server.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "lab/bmc/hex_bytes.h"

namespace kv6000 {

namespace {

using Json = nlohmann::json;

// One image of a megabyte takes about a second and a half: long enough for a power cut to hit the middle.
constexpr std::chrono::milliseconds kFlashPace(20);
constexpr std::size_t kLongestRecord = 500;

std::optional<unsigned> ParseNumber(const std::string& text, int base, unsigned most) {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc{} || end != text.data() + text.size() || value > most) {
    return std::nullopt;
  }
  return value;
}

const char* Text(Media media) {
  switch (media) {
    case Media::kDisconnected:
      return "disconnected";
    case Media::kConnecting:
      return "connecting";
    case Media::kConnected:
      break;
  }
  return "connected";
}

const char* Text(Flash flash) {
  switch (flash) {
    case Flash::kIdle:
      return "idle";
    case Flash::kRunning:
      return "running";
    case Flash::kDone:
      return "done";
    case Flash::kBadMagic:
      return "bad magic";
    case Flash::kBadLength:
      return "bad length";
    case Flash::kBadChecksum:
      return "bad checksum";
    case Flash::kMediaLost:
      break;
  }
  return "media lost";
}

}  // namespace

Server::Config Server::ReadConfig(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    throw std::runtime_error("cannot read " + path);
  }
  const Json json = Json::parse(file);
  const auto running = ParseVersion(json.at("running").get<std::string>());
  if (!running) {
    throw std::runtime_error(path + ": \"running\" is not a version such as 01-23");
  }
  return {*running,
          json.at("writeModePhrase").get<std::string>(),
          json.at("orders").get<std::string>(),
          {json.at("machine").get<std::vector<std::string>>(), json.at("machineLog").get<std::string>(),
           json.at("media").get<std::string>()}};
}

Server::Server(const Config& config, std::function<void(const Version&)> setVersion, EventLoop& loop)
    : loop_(loop),
      setVersion_(std::move(setVersion)),
      machine_(config.machine, {[this] { OnMachineOff(); }, [this] { ++boots_; }, [this] { bmc_.MediaSeen(); }}, loop),
      bmc_(config.running, config.writeModePhrase, *this),
      orders_(
          config.orderPath, [this](const std::string& line) { return Order(line); }, loop) {
  setVersion_(config.running);
}

Bytes Server::Handle(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data) {
  const auto fault = faults_.Next(netfn, cmd);
  if (fault && fault->kind != Fault::Kind::kShort) {
    return {kBusy};  // Answer() puts the ordered answer in its place
  }
  Bytes answer = bmc_.Handle(netfn, cmd, data);
  if (bmc_.state().flash == Flash::kRunning && !stepping_) {
    stepping_ = true;
    loop_.After(kFlashPace, [this] { StepFlash(); });
  }
  return answer;
}

bool Server::Answer(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data, Bytes& answer) {
  const bool answered = faults_.Apply(netfn, cmd, answer);
  Bytes request = {netfn, cmd};
  request.insert(request.end(), data.begin(), data.end());
  record_.push_back(FormatHex(request) + " -> " + (answered ? FormatHex(answer) : "silence"));
  if (record_.size() > kLongestRecord) {
    record_.pop_front();
  }
  return answered;
}

void Server::PowerOn() {
  if (!machine_.running() && machine_.Start()) {
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

void Server::StepFlash() {
  bmc_.FlashStep();
  if (bmc_.state().flash == Flash::kRunning && powerLossAtPercent_ &&
      bmc_.state().flashPercent >= *powerLossAtPercent_) {
    CutPower();
  }
  stepping_ = bmc_.state().flash == Flash::kRunning;
  if (stepping_) {
    loop_.After(kFlashPace, [this] { StepFlash(); });
  }
}

void Server::CutPower() {
  powerLossAtPercent_.reset();
  bmc_.PowerLost();
  machine_.Kill();
}

std::string Server::Order(const std::string& line) {
  std::istringstream stream(line);
  const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
  const std::string name = words.empty() ? "" : words[0];
  const auto rest = std::span(words).subspan(words.empty() ? 0 : 1);
  if (name == "fail") {
    return OrderFault(Fault::Kind::kFail, rest);
  }
  if (name == "short") {
    return OrderFault(Fault::Kind::kShort, rest);
  }
  if (name == "silent") {
    return OrderFault(Fault::Kind::kSilent, rest);
  }
  if (name == "power-loss") {
    return OrderPowerLoss(rest);
  }
  if (!rest.empty()) {
    return "error: '" + name + "' takes no words behind it";
  }
  if (name == "clear") {
    faults_.Clear();
    powerLossAtPercent_.reset();
    return "ok";
  }
  if (name == "power-on") {
    PowerOn();
    return machine_.running() ? "ok" : "error: the machine does not start";
  }
  if (name == "state") {
    return Describe().dump();
  }
  return "error: no order '" + name + "'; there are fail, short, silent, clear, power-loss, power-on, state";
}

std::string Server::OrderFault(Fault::Kind kind, std::span<const std::string> words) {
  const bool hasValue = kind != Fault::Kind::kSilent;
  const std::size_t least = hasValue ? 3 : 2;
  if (words.size() < least || words.size() > least + 1) {
    return hasValue ? "error: expected NETFN CMD VALUE [COUNT|always]" : "error: expected NETFN CMD [COUNT|always]";
  }
  const auto netfn = ParseNumber(words[0], 16, 0x3e);
  const auto cmd = ParseNumber(words[1], 16, 0xff);
  const auto value = hasValue ? ParseNumber(words[2], kind == Fault::Kind::kFail ? 16 : 10, 0xff) : 0U;
  std::optional<unsigned> count = 1;
  if (words.size() > least) {
    count = words[least] == "always" ? 0 : ParseNumber(words[least], 10, 1000000);
  }
  if (!netfn || *netfn % 2 != 0 || !cmd || !value || !count) {
    return "error: NETFN (even) and CMD are hexadecimal, so is a completion code; a length and a count are decimal";
  }
  if (hasValue && kind == Fault::Kind::kShort && *value == 0) {
    return "error: an answer has at least its completion code; use 'silent' for none";
  }
  faults_.Order(static_cast<std::uint8_t>(*netfn), static_cast<std::uint8_t>(*cmd),
                {kind, static_cast<std::uint8_t>(*value)}, *count);
  return "ok";
}

std::string Server::OrderPowerLoss(std::span<const std::string> words) {
  if (words.empty()) {
    CutPower();
    return "ok";
  }
  const auto percent = ParseNumber(words[0], 10, 99);
  if (words.size() > 1 || !percent) {
    return "error: expected nothing or the percentage of the flash (0 to 99) at which the power goes";
  }
  powerLossAtPercent_ = percent;
  return "ok";
}

Json Server::Describe() const {
  const auto& state = bmc_.state();
  return {{"running", kv6000::Text(state.running)},
          {"standby", state.standby ? Json(kv6000::Text(*state.standby)) : Json()},
          {"whole", state.standby.has_value()},
          {"flag", state.rebootFlag},
          {"media", Text(state.media)},
          {"waiting", state.waiting},
          {"writeMode", state.writeMode},
          {"flash", Text(state.flash)},
          {"flashPercent", state.flashPercent},
          {"power", machine_.running() ? "on" : "off"},
          {"boots", boots_},
          {"commands", record_}};
}

}  // namespace kv6000
