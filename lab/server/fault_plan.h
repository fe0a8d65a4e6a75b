// Faults that a test orders for coming requests: another completion code, an answer that is too short or too long, or
// none. Only keeps the plan and cuts answers; who asks and answers is not its business.
#ifndef LAB_SERVER_FAULT_PLAN_H
#define LAB_SERVER_FAULT_PLAN_H

#include <cstdint>
#include <map>
#include <optional>
#include <span>
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
  // The next `count` requests that begin with the bytes of `head` (NetFn, Cmd, and as many data bytes as it takes to
  // choose them) meet the fault; 0: every one until Clear(). Replaces an earlier order for the same head. Of several
  // heads that a request begins with, the longest counts, and it alone is used up.
  void Order(const std::vector<std::uint8_t>& head, const Fault& fault, unsigned count);

  void Clear();

  // The fault that this request (NetFn, Cmd, data) meets, without using it up.
  [[nodiscard]] std::optional<Fault> Next(std::span<const std::uint8_t> request) const;

  // Uses up one request. False when it is to get no answer at all; otherwise `answer` (completion code first) is
  // changed as ordered.
  [[nodiscard]] bool Apply(std::span<const std::uint8_t> request, std::vector<std::uint8_t>& answer);

 private:
  struct Entry {
    Fault fault;
    unsigned left = 0;
    bool always = false;
  };
  using Entries = std::map<std::vector<std::uint8_t>, Entry>;

  // The entry with the longest head that the request begins with.
  [[nodiscard]] Entries::const_iterator Find(std::span<const std::uint8_t> request) const;

  Entries entries_;
};

}  // namespace kv6000

#endif  // LAB_SERVER_FAULT_PLAN_H
