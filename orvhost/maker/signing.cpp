#include "orvhost/maker/signing.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>
#include <string_view>

#include "host/Results.h"
#include "orvhost/interface/repeated_options.h"
#include "posix/regular_file.h"
#include "refhost/machine.h"

namespace orvhost {

namespace {

constexpr std::size_t kLongestOutput = 64UL * 1024UL;

// The last thing that gpg says of itself; its lines begin with its name.
std::string LastComplaint(const std::string& output) {
  constexpr std::string_view kOwnName = "gpg: ";
  std::istringstream lines(output);
  std::string complaint;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(kOwnName)) {
      complaint = line.substr(kOwnName.size());
    }
  }
  return complaint;
}

// Runs gpg, whose outputs are then in `*output`. False with `*failure` when it did not succeed.
bool RunGpg(const std::string& arguments, const std::string& outputFile, std::string* output, SigningFailure* failure) {
  const std::string line = "LC_ALL=C gpg --no-options --no-tty " + arguments + " 2>&1";
  const refhost::ShellEnd end = refhost::CurrentMachine().Run(
      {.line = line, .workDir = "", .outputFile = outputFile, .wantsFirstLine = false, .limitMs = host::kNoTimeLimit});
  *output = posix::ReadRegularFile(outputFile, kLongestOutput).value_or("");
  if (end.how == refhost::ShellEnd::How::kExited && end.exitStatus == 0) {
    return true;
  }
  failure->isMissing = end.exitStatus == refhost::kProgramNotFound;
  const std::string complaint = LastComplaint(*output);
  failure->reason = failure->isMissing  ? "the program gpg is missing"
                    : complaint.empty() ? "gpg did not come to its end"
                                        : "gpg says: " + complaint;
  return false;
}

// The time of the signature, where whoever builds the package has set one.
std::string FixedTime() {
  const char* epoch = getenv("SOURCE_DATE_EPOCH");
  const std::string seconds = epoch != nullptr ? epoch : "";
  const bool isNumber = !seconds.empty() && std::ranges::all_of(seconds, [](unsigned char c) { return isdigit(c); });
  return isNumber ? "--faked-system-time " + seconds + "! " : "";
}

}  // namespace

bool SignPackage(const std::string& package, const std::string& key, const std::string& signature,
                 const std::string& folder, SignatureAnswer* answer, SigningFailure* failure) {
  std::string output;
  const std::string outputFile = folder + "/gpg";
  if (!RunGpg(FixedTime() + "--digest-algo SHA512 --local-user " + SingleQuoted(key) + " --output " +
                  SingleQuoted(signature) + " --detach-sign " + SingleQuoted(package),
              outputFile, &output, failure) ||
      !RunGpg(FixedTime() + "--status-fd 1 --verify " + SingleQuoted(signature) + " " + SingleQuoted(package),
              outputFile, &output, failure)) {
    return false;
  }
  const auto answers = ReadGpgvAnswer(output, "");
  if (!answers || answers->front().state != SignatureState::kGood) {
    failure->reason = "gpg does not find its own signature good";
    return false;
  }
  *answer = answers->front();
  return true;
}

}  // namespace orvhost
