// See machine.h.
#include "lab/server/machine.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

// This header of glibc 2.36 declares C functions without saying so.
extern "C" {
#include <sys/pidfd.h>
}

namespace kv6000 {

namespace {

using Json = nlohmann::json;

// The descriptor under which QEMU finds its end of the QMP channel.
constexpr int kQmpChildFd = 3;
constexpr std::chrono::milliseconds kMediaQuestionPace(50);
constexpr const char* kMediaQuestion = "media-was-read";

// In the child between fork and exec. Never returns.
[[noreturn]] void BecomeMachine(const std::vector<char*>& arguments, const char* logPath, int qmpFd) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  setsid();
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int log = open(logPath, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (nothing < 0 || log < 0 || dup2(nothing, STDIN_FILENO) < 0 || dup2(log, STDOUT_FILENO) < 0 ||
      dup2(log, STDERR_FILENO) < 0 || dup2(qmpFd, kQmpChildFd) < 0) {
    _exit(126);
  }
  close_range(kQmpChildFd + 1, ~0U, 0);
  execvp(arguments[0], arguments.data());
  dprintf(STDERR_FILENO, "cannot start %s: %s\n", arguments[0], std::strerror(errno));
  _exit(127);
}

bool WasRead(const Json& blockStats) {
  for (const auto& device : blockStats) {
    if (device.value("node-name", "") == "media") {
      return device.at("stats").at("rd_operations").get<std::uint64_t>() > 0;
    }
  }
  return false;
}

}  // namespace

Machine::Machine(Config config, Listener listener, EventLoop& loop)
    : config_(std::move(config)), listener_(std::move(listener)), loop_(loop) {}

Machine::~Machine() {
  Kill();
}

bool Machine::Start() {
  return IsRunning() || StartProcess();
}

bool Machine::StartProcess() {
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) {
    std::printf("machine: no QMP channel: %s\n", std::strerror(errno));
    return false;
  }
  posix::FileDescriptor ours(pair[0]);
  const posix::FileDescriptor theirs(pair[1]);
  auto command = config_.command;
  command.insert(command.end(), {"-no-reboot", "-chardev", "socket,id=qmp,fd=" + std::to_string(kQmpChildFd), "-mon",
                                 "chardev=qmp,mode=control"});
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (auto& argument : command) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);

  // Of an earlier boot it would say that this one takes commands.
  (void)unlink(config_.readyPath.c_str());
  const pid_t pid = fork();
  if (pid == 0) {
    BecomeMachine(arguments, config_.logPath.c_str(), theirs.Get());
  }
  if (pid < 0) {
    std::printf("machine: cannot fork: %s\n", std::strerror(errno));
    return false;
  }
  pid_ = pid;
  // The simulator reaps every child of its process; the descriptor still reports the end.
  pidFd_ = posix::FileDescriptor(pidfd_open(pid, 0));
  qmp_ = std::move(ours);
  qmpInput_.clear();
  loop_.Watch(pidFd_.Get(), [this] { OnExit(); });
  loop_.Watch(qmp_.Get(), [this] { OnQmp(); });
  Send(R"({"execute":"qmp_capabilities"})");
  std::printf("machine: on, process %d\n", pid);
  return true;
}

void Machine::Kill() {
  if (IsRunning()) {
    pidfd_send_signal(pidFd_.Get(), SIGKILL, nullptr, 0);
  }
}

void Machine::CutPower() {
  if (!IsRunning()) {
    return;
  }
  Kill();
  pollfd process{pidFd_.Get(), POLLIN, 0};
  while (poll(&process, 1, -1) < 0 && errno == EINTR) {
  }
  // A reset that had begun has no power to go on.
  if (qmp_.IsOpen()) {
    DropQmp();
  }
  resetting_ = false;
  OnExit();
}

void Machine::OnExit() {
  // The news of QEMU's end may come before what it said last is read.
  while (qmp_.IsOpen()) {
    OnQmp();
  }
  loop_.Unwatch(pidFd_.Get());
  pidFd_.Close();
  pid_ = -1;
  if (std::exchange(resetting_, false) && StartProcess()) {
    if (mediaAttached_) {
      PlugMediaIn();
    }
    listener_.rebooted();
    return;
  }
  std::printf("machine: off\n");
  mediaAttached_ = false;
  ++mediaGeneration_;
  listener_.off();
}

void Machine::DropQmp() {
  loop_.Unwatch(qmp_.Get());
  qmp_.Close();
}

void Machine::OnQmp() {
  std::array<char, 4096> buffer{};
  const auto count = recv(qmp_.Get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
    return;
  }
  if (count <= 0) {
    DropQmp();
    return;
  }
  qmpInput_.append(buffer.data(), static_cast<std::size_t>(count));
  for (auto end = qmpInput_.find('\n'); end != std::string::npos; end = qmpInput_.find('\n')) {
    const std::string line = qmpInput_.substr(0, end);
    qmpInput_.erase(0, end + 1);
    OnQmpLine(line);
  }
}

void Machine::OnQmpLine(const std::string& line) {
  const Json message = Json::parse(line, nullptr, false);
  if (!message.is_object()) {
    return;
  }
  if (message.contains("error")) {
    std::printf("machine: %s\n", line.c_str());
  } else if (message.value("event", "") == "SHUTDOWN") {
    resetting_ = message.at("data").value("reason", "") == "guest-reset";
  } else if (message.value("id", "") == kMediaQuestion && mediaAttached_ && !mediaWasRead_) {
    mediaWasRead_ = WasRead(message.at("return"));
    if (mediaWasRead_) {
      listener_.mediaSeen();
    } else {
      AskWhetherMediaWasRead();
    }
  }
}

void Machine::Send(const std::string& command) {
  if (qmp_.IsOpen()) {
    const std::string line = command + "\n";
    (void)send(qmp_.Get(), line.data(), line.size(), MSG_NOSIGNAL);
  }
}

void Machine::AttachMedia() {
  if (!IsRunning()) {
    return;
  }
  mediaAttached_ = true;
  PlugMediaIn();
}

void Machine::PlugMediaIn() {
  mediaWasRead_ = false;
  ++mediaGeneration_;
  Send(R"({"execute":"device_add","arguments":{"driver":"usb-bot","id":"media","bus":"usb.0"}})");
  Send(R"({"execute":"device_add","arguments":{"driver":"scsi-hd","id":"media-disk","bus":"media.0","drive":"media",)"
       R"("vendor":"KESTREL","product":"VirtualMedia","ver":"1.0","removable":true}})");
  Send(R"({"execute":"qom-set","arguments":{"path":"/machine/peripheral/media","property":"attached","value":true}})");
  AskWhetherMediaWasRead();
}

void Machine::AskWhetherMediaWasRead() {
  loop_.After(kMediaQuestionPace, [this, generation = mediaGeneration_] {
    if (generation == mediaGeneration_ && mediaAttached_) {
      Send(Json{{"execute", "query-blockstats"}, {"id", kMediaQuestion}}.dump());
    }
  });
}

void Machine::DetachMedia() {
  if (mediaAttached_) {
    Send(R"({"execute":"device_del","arguments":{"id":"media"}})");
  }
  mediaAttached_ = false;
  ++mediaGeneration_;
}

std::vector<std::uint8_t> Machine::ReadMedia(std::uint32_t offset, std::uint32_t length) const {
  std::vector<std::uint8_t> bytes;
  const posix::FileDescriptor file(open(config_.mediaPath.c_str(), O_RDONLY | O_CLOEXEC));
  if (!mediaAttached_ || !file.IsOpen()) {
    return bytes;
  }
  bytes.resize(length);
  const auto count = pread(file.Get(), bytes.data(), length, offset);
  bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return bytes;
}

}  // namespace kv6000
