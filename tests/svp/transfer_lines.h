// What the tests of the senders and of their transfer share: a test's IPMI tool, the lines of requests that are taken
// or refused through it, and of steps that are tried again.
#ifndef TESTS_SVP_TRANSFER_LINES_H
#define TESTS_SVP_TRANSFER_LINES_H

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/scripted_host.h"

namespace kestrel {

// One of the two IPMI tools and how requests fail through it, as a test parameter.
struct Tool {
  const char* name;
  const char* path;
  bool isMakers;
  bool breaksAnswers;  // instead of the BMC's refusing with c1
  // What the trace shows as the completion code of a request that fails so: ipmitool gives a refusal's away.
  const char* refusal;

  // Makes the next `times` calls of `request` fail.
  void Refuse(ScriptedHost* host, const std::string& request, int times) const;
  // The journal of a request that the BMC takes.
  Lines Taken(const std::string& request) const;
  // The journal of a request that fails.
  Lines Refused(const std::string& request) const;
};

inline const Tool kThroughIpmitool{"Ipmitool", kIpmitoolPath, false, false, ""};
inline const Tool kThroughMakersTool{"MakersTool", kMakersToolPath, true, false, "c1"};
inline const Tool kBrokenByIpmitool{"BrokenByIpmitool", kIpmitoolPath, false, true, "00"};
inline const Tool kBrokenByMakersTool{"BrokenByMakersTool", kMakersToolPath, true, true, "00"};

// How a failed test names its tool.
inline void PrintTo(const Tool& tool, std::ostream* out) {
  *out << tool.name;
}

// Makes the next `failures` calls of `request` fail, and the one after them succeed when there is a third.
void RefuseThenTake(ScriptedHost* host, const Tool& tool, const std::string& request, int failures);

// The journal of a step up to its last answer: `failures` (0 to 3) attempts fail, and are reported by `message` when
// they are tried again. `message` goes up to the completion code.
Lines Attempts(const Tool& tool, const std::string& request, const std::string& message, int failures);

// One step of a transfer.
struct Step {
  const char* name;  // as a part of a test's name
  std::string request;
  std::string message;  // of a failed attempt, up to the completion code
};

// Makes step `failing` of `steps` (an index) fail `failures` times and all before it succeed, and all after it unless
// it has failed three times. Gives the journal up to the last answer.
Lines PlaySteps(ScriptedHost* host, const Tool& tool, const std::vector<Step>& steps, int failing, int failures);

// An answer of Get Capability that ends with the support flags, and the journal of asking for it. A completion code
// other than 00 is an answer through the maker's tool only.
std::string CapabilityAnswer(const std::string& flags, const std::string& completionCode = "00");
Lines CapabilityLines(const Tool& tool, const std::string& flags, const std::string& completionCode = "00");

// The requests that write `record`, byte texts separated by blanks, into the file `fileId` in pieces of 32 bytes.
std::vector<std::string> WriteRequests(const std::string& fileId, const std::string& record);

}  // namespace kestrel

#endif  // TESTS_SVP_TRANSFER_LINES_H
