#include "explore/program_ends.h"

namespace explore {

namespace {

constexpr int kNotExecutableStatus = 126;

}  // namespace

std::optional<int> StatusWithoutWork(FaultKind fault) {
  switch (fault) {
    case FaultKind::kNotFound:
      return kNotFoundStatus;
    case FaultKind::kNotExecutable:
      return kNotExecutableStatus;
    case FaultKind::kExitOne:
      return 1;
    default:
      return {};
  }
}

int StatusWith(FaultKind fault, int status) {
  return fault == FaultKind::kExitOneAfter ? 1 : fault == FaultKind::kExitTwoAfter ? 2 : status;
}

std::string LastQuoted(const std::string& line) {
  const std::size_t end = line.rfind('"');
  const std::size_t begin = end == std::string::npos || end == 0 ? std::string::npos : line.rfind('"', end - 1);
  return begin == std::string::npos ? "" : line.substr(begin + 1, end - begin - 1);
}

bool StepsClock(World& world, FaultKind fault) {
  if (fault != FaultKind::kClockBack && fault != FaultKind::kClockForward) {
    return false;
  }
  world.StepClock(fault == FaultKind::kClockBack ? -3600 * kSecond : 86400 * kSecond);
  return true;
}

}  // namespace explore
