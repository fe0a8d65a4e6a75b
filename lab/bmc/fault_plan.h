// Faults that a test orders for the coming calls of a command: another completion code, an answer that is too short or
// too long, or none. Only keeps the plan and cuts answers; who asks and answers is not its business.
#ifndef LAB_BMC_FAULT_PLAN_H
#define LAB_BMC_FAULT_PLAN_H

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace kv6000 {

struct Fault {
  enum class Kind : std::uint8_t { kFail, kShort, kLong, kSilent };

  Kind kind = Kind::kFail;
  // kFail: the completion code. kShort: the bytes left. kLong: the bytes to fill up to, with zeros. Both count the
  // completion code.
  std::uint8_t value = 0;

  // Whether the command is carried out all the same.
  [[nodiscard]] bool HasEffect() const { return kind == Kind::kShort || kind == Kind::kLong; }
};

class FaultPlan {
 public:
  // The next `count` calls of (netfn, cmd) meet the fault; 0: every call until Clear(). Replaces an earlier order for
  // the same command.
  void Order(std::uint8_t netfn, std::uint8_t cmd, const Fault& fault, unsigned count);

  void Clear();

  // The fault that the next call will meet, without using it up.
  [[nodiscard]] std::optional<Fault> Next(std::uint8_t netfn, std::uint8_t cmd) const;

  // Uses up one call. False when the call is to get no answer at all; otherwise `answer` (completion code first) is
  // changed as ordered.
  bool Apply(std::uint8_t netfn, std::uint8_t cmd, std::vector<std::uint8_t>& answer);

 private:
  struct Entry {
    Fault fault;
    unsigned left = 0;
    bool always = false;
  };
  std::map<std::pair<std::uint8_t, std::uint8_t>, Entry> entries_;
};

}  // namespace kv6000

#endif  // LAB_BMC_FAULT_PLAN_H
