#include "tests/orvhost/attacks/watched_program.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

#include "tests/orvhost/attacks/watched_calls.h"

namespace attacks {

namespace {

#if defined(__x86_64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "name this machine's architecture"
#endif

[[noreturn]] void Die(const char* what) {
  perror(what);
  _exit(125);
}

// The kernel asks about the watched calls; mapping memory that is no file's is none of them.
std::vector<sock_filter> Filter() {
  constexpr unsigned kFlagsOfMmap = offsetof(seccomp_data, args) + 3 * sizeof(__u64);
  std::vector<sock_filter> filter = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kArchitecture, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_mmap, 0, 4),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kFlagsOfMmap),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, MAP_ANONYMOUS, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
  };
  for (const WatchedCall& call : kWatchedCalls) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call.number), 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  return filter;
}

struct Envelope {
  char data = 0;
  iovec part{&data, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))]{};
  msghdr message{};
  Envelope() {
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
  }
};

void Send(int socket, int descriptor) {
  Envelope envelope;
  cmsghdr* header = CMSG_FIRSTHDR(&envelope.message);
  *header = {CMSG_LEN(sizeof descriptor), SOL_SOCKET, SCM_RIGHTS};
  memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  if (sendmsg(socket, &envelope.message, 0) != 1) {
    Die("sendmsg");
  }
}

int Receive(int socket) {
  Envelope envelope;
  if (recvmsg(socket, &envelope.message, MSG_CMSG_CLOEXEC) != 1 || CMSG_FIRSTHDR(&envelope.message) == nullptr) {
    Die("recvmsg");
  }
  int descriptor = -1;
  memcpy(&descriptor, CMSG_DATA(CMSG_FIRSTHDR(&envelope.message)), sizeof descriptor);
  return descriptor;
}

[[noreturn]] void RunProgram(char** words, int socket) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::vector<sock_filter> filter = Filter();
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
    Die("prctl");
  }
  const long listener = syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program);
  if (listener < 0) {
    Die("seccomp");
  }
  Send(socket, static_cast<int>(listener));
  execv(words[0], words);
  Die(words[0]);
}

}  // namespace

WatchedProgram StartWatched(char** words) {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    Die("socketpair");
  }
  const pid_t child = fork();
  if (child == 0) {
    RunProgram(words, sockets[1]);
  }
  close(sockets[1]);
  const WatchedProgram started{child, Receive(sockets[0])};
  close(sockets[0]);
  return started;
}

}  // namespace attacks
