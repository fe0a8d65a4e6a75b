// Reads what the two IPMI tools print. Pure: text in, byte texts out; what to do about a broken answer is the caller's.
#ifndef IPMI_RESPONSE_PARSER_H
#define IPMI_RESPONSE_PARSER_H

#include <list>
#include <string>
#include <string_view>

namespace kestrel {

// Both append to `*response` the completion code and then the response bytes, each a text of two characters that are
// not looked at further. False when a word of any other length was met; what came before it has been appended.

// ipmitool prints the response bytes only, and fails by its exit status when the completion code is not zero: so the
// completion code is always "00".
[[nodiscard]] bool ParseIpmitoolOutput(std::string_view output, std::list<std::string>* response);

// The maker's tool prints the answer on its second line, behind four words of its own. Without such a line, or with an
// empty one, nothing is appended.
[[nodiscard]] bool ParseMakersToolOutput(std::string_view output, std::list<std::string>* response);

}  // namespace kestrel

#endif  // IPMI_RESPONSE_PARSER_H
