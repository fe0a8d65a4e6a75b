// A UNIX socket for orders from outside: a client sends one line and gets one line back. Knows nothing of the orders.
#ifndef LAB_SERVER_ORDER_SOCKET_H
#define LAB_SERVER_ORDER_SOCKET_H

#include <functional>
#include <map>
#include <string>

#include "lab/server/event_loop.h"
#include "posix/file_descriptor.h"

namespace kv6000 {

class OrderSocket {
 public:
  // Takes an order without its newline and returns the answer without one.
  using Handler = std::function<std::string(const std::string& order)>;

  // Listens at `path`, replacing a file that is there. Throws std::system_error.
  OrderSocket(const std::string& path, Handler handler, EventLoop& loop);

 private:
  struct Client {
    posix::FileDescriptor fd;
    std::string input;
  };

  void OnConnect();
  void OnInput(int fd);

  Handler handler_;
  EventLoop& loop_;
  posix::FileDescriptor listener_;
  std::map<int, Client> clients_;
};

}  // namespace kv6000

#endif  // LAB_SERVER_ORDER_SOCKET_H
