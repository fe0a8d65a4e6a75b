// An IPMI tool that answers at once and does nothing else: what is left of a request's cost is the cost of asking. It
// uses nothing but system calls, so that its own start costs next to nothing too.
//
// Built under two names, one for each form: as ipmicmd it reads its request from standard input and answers on its
// second line, to every question, as a device ID; as ipmitool it takes the request from its arguments and also knows
// an SDR repository. STUB_SDR_COUNT holds the two bytes (low, high) of the number of records that it claims,
// STUB_SDR_VERSION_AT those of the ID of the record with the version.
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

#define DEVICE_ID "20 01 01 23 02 bf 57 01 00 34 12 00 00 00 00\n"

// A full sensor record, and the OEM record of the version 1.10.
constexpr const char* kSensorRecord =
    " ff ff 01 00 51 01 3a 20 00 01 07 01 7f 68 01 01\n 85 7a 85 7a 3f 3f 00 01 00 00 01 00 00 00 00 00\n"
    " 07 1e 2d 05 5a 00 00 64 61 5f 0a 0d 10 02 02 00\n 00 00 cc 53 79 73 74 65 6d 20 54 65 6d 70 31 32\n";
constexpr const char* kVersionRecord =
    " ff ff 01 00 51 c0 13 00 00 00 53 44 52 20 56 65\n 72 73 69 6f 6e 20 31 2e 31 30\n";

int Print(const char* text) {
  const std::size_t length = std::strlen(text);
  return write(STDOUT_FILENO, text, length) == static_cast<ssize_t>(length) ? 0 : 1;
}

// Whether the two arguments, such as 0x0a 0x23, are the two bytes of `text`, such as "0a 23".
bool Are(char* const* arguments, const char* text) {
  return text != nullptr && std::strlen(text) == 5 && std::memcmp(arguments[0] + 2, text, 2) == 0 &&
         std::memcmp(arguments[1] + 2, text + 3, 2) == 0;
}

int AnswerRepositoryInfo() {
  const char* count = std::getenv("STUB_SDR_COUNT");
  if (count == nullptr || std::strlen(count) != 5) {
    return 1;
  }
  char answer[] = " 51 LL HH 00 00 00 00 00 00 00 00 00 00 00\n";
  std::memcpy(answer + 4, count, 5);
  return Print(answer);
}

int AnswerStandardInput() {
  char line[1024];
  if (read(STDIN_FILENO, line, sizeof(line)) < 5) {
    return 1;
  }
  return Print("request sent\nanswer of the BMC: 00 " DEVICE_ID);
}

}  // namespace

int main(int count, char** arguments) {
  const std::size_t length = std::strlen(arguments[0]);
  if (length >= 7 && std::strcmp(arguments[0] + length - 7, "ipmicmd") == 0) {
    return AnswerStandardInput();
  }
  if (count < 4 || std::strcmp(arguments[1], "raw") != 0) {
    return 2;
  }
  if (Are(arguments + 2, "0a 20")) {
    return AnswerRepositoryInfo();
  }
  if (count == 10 && Are(arguments + 2, "0a 23")) {
    return Print(Are(arguments + 6, std::getenv("STUB_SDR_VERSION_AT")) ? kVersionRecord : kSensorRecord);
  }
  return Print(" " DEVICE_ID);
}
