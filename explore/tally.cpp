#include "explore/tally.h"

#include <zlib.h>

#include <array>
#include <cstdio>

#include "explore/known_findings.h"
#include "explore/outside.h"
#include "explore/replay.h"

namespace explore {

namespace {

unsigned long Checksum(unsigned long sum, const std::string& text) {
  return crc32_z(sum, reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

}  // namespace

void Tally::Add(const std::vector<Scenario>& scenarios, const std::vector<Result>& results) {
  for (std::size_t at = 0; at < scenarios.size(); ++at) {
    const Result& result = results[at];
    const std::string text = Text(scenarios[at]);
    for (const std::string& finding : result.findings) {
      Take(text, result, finding, WhyKnown(scenarios[at], finding));
      checksum_ = Checksum(checksum_, finding);
    }
    unmet_ += result.unmet;
    checksum_ = Checksum(checksum_, text + result.verdict + std::to_string(result.exitCode) + result.way +
                                        (result.flashTouched ? "*" : "") + (result.ends ? "." : ""));
  }
  scenarios_ += scenarios.size();
}

void Tally::PrintSum(std::size_t roads, double seconds) const {
  std::string text;
  int known = 0;
  for (const auto& [why, count] : known_) {
    known += count;
    text += "known, " + std::to_string(count) + " times: " + why + "\n";
  }
  std::array<char, 128> speed{};
  std::snprintf(speed.data(), speed.size(), "checksum %08lx\n%.1f s, %.0f scenarios a second\n", checksum_, seconds,
                static_cast<double>(scenarios_) / seconds);
  Print(text + std::to_string(scenarios_) + " scenarios on " + std::to_string(roads) + " roads, " +
        std::to_string(fresh_) + " findings open, " + std::to_string(known) + " known that stay, " +
        std::to_string(unmet_) + " faults whose event did not come or changed\n" + speed.data());
}

int Tally::ExitCode() const {
  return fresh_ == 0 ? 0 : kExitFindings;
}

void Tally::Take(const std::string& text, const Result& result, const std::string& finding, const std::string& why) {
  if (!why.empty()) {
    ++known_[why];
    return;
  }
  ++fresh_;
  Print(text + ": " + result.verdict + ": " + finding + "\n");
}

}  // namespace explore
