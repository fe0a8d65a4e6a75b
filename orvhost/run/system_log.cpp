#include "orvhost/run/system_log.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "orvhost/interface/printable.h"
#include "orvhost/run/machine.h"
#include "posix/file_descriptor.h"

namespace orvhost {

namespace {

constexpr const char* kJournalSocket = "/run/systemd/journal/socket";
constexpr const char* kSyslogSocket = "/dev/log";

int PriorityOf(const Outcome& outcome) {
  switch (outcome.exitCode) {
    case ExitCode::kOk:
      return LOG_INFO;
    case ExitCode::kFailedFlashBegun:
      return LOG_CRIT;
    case ExitCode::kUsage:
    case ExitCode::kBusy:
    case ExitCode::kInterrupted:
      return LOG_WARNING;
    default:
      return LOG_ERR;
  }
}

std::string MessageOf(const Outcome& outcome) {
  const std::string text =
      outcome.failure ? outcome.failure->cause + " Next step: " + outcome.failure->nextStep : outcome.summary;
  return Printable(outcome.command + ": " + outcome.verdict + (text.empty() ? "" : ": " + text));
}

// False when nobody listens there, or does not take it at once.
bool Send(const std::string& path, const std::string& message) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    return false;
  }
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const posix::FileDescriptor descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return descriptor.IsOpen() &&
         sendto(descriptor.Get(), message.data(), message.size(), MSG_NOSIGNAL,
                reinterpret_cast<const sockaddr*>(&address), sizeof address) == static_cast<ssize_t>(message.size());
}

}  // namespace

void SayToSystemLog(const Outcome& outcome, const std::string& installPath) {
  if (!Send(SystemFile(kJournalSocket), JournalFields(outcome, installPath))) {
    (void)Send(SystemFile(kSyslogSocket), SyslogLine(outcome, getpid()));
  }
}

std::string MessageId(std::string_view verdict) {
  __extension__ using Wide = unsigned __int128;
  constexpr unsigned kBits = 64;
  constexpr Wide kPrime = (Wide{1} << 88U) + 0x13bU;
  Wide hash = (Wide{0x6c62272e07bb0142U} << kBits) + 0x62b821756295c58dU;
  for (const std::string_view part : {std::string_view("orvhost "), verdict}) {
    for (const char letter : part) {
      hash = (hash ^ static_cast<unsigned char>(letter)) * kPrime;
    }
  }
  std::string digits;
  for (unsigned shift = 2 * kBits; shift > 0; shift -= 4) {
    digits += "0123456789abcdef"[static_cast<unsigned>(hash >> (shift - 4)) & 0xfU];
  }
  return digits;
}

// A printable value holds no line end, so that each field stays on its line.
std::string JournalFields(const Outcome& outcome, const std::string& installPath) {
  const auto fields = std::to_array<std::pair<const char*, std::string>>({
      {"MESSAGE", MessageOf(outcome)},
      {"MESSAGE_ID", MessageId(outcome.verdict)},
      {"PRIORITY", std::to_string(PriorityOf(outcome))},
      {"SYSLOG_FACILITY", std::to_string(LOG_FAC(LOG_DAEMON))},
      {"SYSLOG_IDENTIFIER", "orvhost"},
      {"ORVHOST_RUN", outcome.runId},
      {"ORVHOST_COMMAND", outcome.command},
      {"ORVHOST_VERDICT", outcome.verdict},
      {"ORVHOST_EXIT_CODE", std::to_string(static_cast<int>(outcome.exitCode))},
      {"ORVHOST_BEFORE", outcome.before},
      {"ORVHOST_AFTER", outcome.after},
      {"ORVHOST_INSTALL_PATH", installPath},
  });
  std::string text;
  for (const auto& [name, value] : fields) {
    if (!value.empty()) {
      text += std::string(name) + "=" + Printable(value, 2 * kLongestPrinted) + "\n";
    }
  }
  return text;
}

std::string SyslogLine(const Outcome& outcome, int pid) {
  return "<" + std::to_string(LOG_DAEMON | PriorityOf(outcome)) + ">orvhost[" + std::to_string(pid) +
         "]: " + MessageOf(outcome) + " [run=" + (outcome.runId.empty() ? "none" : outcome.runId) +
         " exit_code=" + std::to_string(static_cast<int>(outcome.exitCode)) + " id=" + MessageId(outcome.verdict) + "]";
}

}  // namespace orvhost
