// See order_socket.h.
#include "lab/server/order_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

namespace kv6000 {

namespace {

constexpr std::size_t kLongestOrder = 4096;

[[noreturn]] void Throw(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

posix::FileDescriptor ListenAt(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    errno = ENAMETOOLONG;
    Throw(path);
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  posix::FileDescriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  unlink(path.c_str());
  if (!fd.IsOpen() || bind(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      listen(fd.Get(), 16) != 0) {
    Throw(path);
  }
  return fd;
}

// An answer may be longer than the socket's buffer, but a client that does not read must not stop the BMC for long.
void SendAll(int fd, std::string_view text) {
  const timeval patience{2, 0};
  (void)setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
  (void)fcntl(fd, F_SETFL, 0);
  while (!text.empty()) {
    const auto count = send(fd, text.data(), text.size(), MSG_NOSIGNAL);
    if (count <= 0) {
      return;
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace

OrderSocket::OrderSocket(const std::string& path, Handler handler, EventLoop& loop)
    : handler_(std::move(handler)), loop_(loop), listener_(ListenAt(path)) {
  loop_.Watch(listener_.Get(), [this] { OnConnect(); });
}

void OrderSocket::OnConnect() {
  posix::FileDescriptor fd(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!fd.IsOpen()) {
    return;
  }
  const int number = fd.Get();
  clients_[number] = Client{std::move(fd), {}};
  loop_.Watch(number, [this, number] { OnInput(number); });
}

void OrderSocket::OnInput(int fd) {
  Client& client = clients_.at(fd);
  std::array<char, 1024> buffer{};
  const auto count = recv(fd, buffer.data(), buffer.size(), 0);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
    return;
  }
  if (count > 0) {
    client.input.append(buffer.data(), static_cast<std::size_t>(count));
    const auto end = client.input.find('\n');
    if (end == std::string::npos && client.input.size() < kLongestOrder) {
      return;
    }
    SendAll(fd, handler_(client.input.substr(0, end)) + "\n");
  }
  loop_.Unwatch(fd);
  clients_.erase(fd);
}

}  // namespace kv6000
