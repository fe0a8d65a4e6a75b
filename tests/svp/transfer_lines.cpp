#include "tests/svp/transfer_lines.h"

#include <array>
#include <cstdio>

namespace kestrel {

Lines Tool::Taken(const std::string& request) const {
  return isMakers ? MakersRequest(request) : Request(request);
}

void Tool::Refuse(ScriptedHost* host, const std::string& request, int times) const {
  if (breaksAnswers) {
    host->AnswerRaw(request, {0, 0, isMakers ? "sent\na b c d 00 broken\n" : "broken\n"}, times);
  } else {
    host->Answer(request, "c1", times);
  }
}

Lines Tool::Refused(const std::string& request) const {
  if (breaksAnswers) {
    return isMakers ? BrokenMakersRequest(request) : BrokenRequest(request);
  }
  return isMakers ? MakersRequest(request) : FailedRequest(request);
}

void RefuseThenTake(ScriptedHost* host, const Tool& tool, const std::string& request, int failures) {
  if (failures > 0) {
    tool.Refuse(host, request, failures);
  }
  if (failures < 3) {
    host->Answer(request, "00");
  }
}

Lines Attempts(const Tool& tool, const std::string& request, const std::string& message, int failures) {
  const Lines triedAgain = {tool.Refused(request), "16 " + message + tool.refusal, "sleep 10000"};
  if (failures == 3) {
    return {triedAgain.Times(2), tool.Refused(request)};
  }
  return {triedAgain.Times(failures), tool.Taken(request)};
}

Lines PlaySteps(ScriptedHost* host, const Tool& tool, const std::vector<Step>& steps, int failing, int failures) {
  Lines journal;
  for (int i = 0; i < std::ssize(steps); ++i) {
    const Step& step = steps[static_cast<std::size_t>(i)];
    const int stepFailures = i == failing ? failures : 0;
    RefuseThenTake(host, tool, step.request, stepFailures);
    journal = {journal, Attempts(tool, step.request, step.message, stepFailures)};
    if (stepFailures == 3) {
      break;
    }
  }
  return journal;
}

std::string CapabilityAnswer(const std::string& flags, const std::string& completionCode) {
  return completionCode + " a1 a2 a3 a4 a5 a6 a7 a8 a9 b0 b1 b2 b3 b4 b5 b6 " + flags;
}

Lines CapabilityLines(const Tool& tool, const std::string& flags, const std::string& completionCode) {
  return {tool.Taken("3c 04"),
          "4 0:" + completionCode,
          "4 1:a1",
          "4 2:a2",
          "4 3:a3",
          "4 4:a4",
          "4 5:a5",
          "4 6:a6",
          "4 7:a7",
          "4 8:a8",
          "4 9:a9",
          "4 10:b0",
          "4 11:b1",
          "4 12:b2",
          "4 13:b3",
          "4 14:b4",
          "4 15:b5",
          "4 16:b6",
          "4 17:" + flags,
          "4 17:" + flags + " SendInfoToSVP Support info"};
}

std::vector<std::string> WriteRequests(const std::string& fileId, const std::string& record) {
  constexpr std::size_t kPieceLength = 96;  // of text
  std::vector<std::string> requests;
  for (std::size_t at = 0; at < record.size(); at += kPieceLength) {
    const std::size_t offset = at / 3;
    std::array<char, 64> head{};
    std::snprintf(head.data(), head.size(), "3c 69 05 %s 00 00 %02zx %02zx %02zx %02zx ", fileId.c_str(), offset & 0xff,
                  offset >> 8 & 0xff, offset >> 16 & 0xff, offset >> 24 & 0xff);
    std::string request = head.data() + record.substr(at, kPieceLength);
    if (request.back() == ' ') {
      request.pop_back();
    }
    requests.push_back(request);
  }
  return requests;
}

}  // namespace kestrel
