// An IPMI tool that answers at once and does nothing else: what is left of a request's cost is the cost of asking.
// Built under two names, one for each form: as ipmicmd it reads its request from standard input and answers on its
// second line, as ipmitool it takes it from its arguments. STUB_ANSWER holds the data bytes to answer, STUB_SDR_COUNT
// the two bytes (low, high) of the number of records that its repository claims.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string Setting(const char* name, const char* fallback) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : fallback;
}

// Data bytes for the request "NETFN CMD", as both forms print them.
std::string Answer(const std::string& netFnAndCommand) {
  if (netFnAndCommand == "0a 20") {
    return "51 " + Setting("STUB_SDR_COUNT", "0a 00") + " 00 00";
  }
  if (netFnAndCommand == "0a 23") {
    return "ff ff 01 00 51 01 2b 20 00 01 07 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00";
  }
  return Setting("STUB_ANSWER", "20 01 01 23 02");
}

void Print(const std::string& text) {
  if (write(STDOUT_FILENO, text.data(), text.size()) < 0) {
    _exit(1);
  }
}

int AnswerStandardInput() {
  char line[1024];
  const ssize_t length = read(STDIN_FILENO, line, sizeof(line) - 1);
  if (length < 5) {
    return 1;
  }
  line[length] = 0;
  // The NetFn/LUN byte is the NetFn shifted left by two.
  const long netFn = std::strtol(line, nullptr, 16) / 4;
  const std::string digits = "0123456789abcdef";
  const auto high = static_cast<std::size_t>(netFn / 16);
  const auto low = static_cast<std::size_t>(netFn % 16);
  Print("request sent\nanswer of the BMC: 00 " + Answer({digits[high], digits[low], ' ', line[3], line[4]}) + "\n");
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string name = arguments[0];
  if (name.ends_with("ipmicmd")) {
    return AnswerStandardInput();
  }
  if (count < 4 || std::strcmp(arguments[1], "raw") != 0) {
    return 2;
  }
  Print(" " + Answer(std::string(arguments[2] + 2) + " " + (arguments[3] + 2)) + "\n");
  return 0;
}
