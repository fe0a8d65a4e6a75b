// Runs one raw IPMI request through the chosen tool and reads its answer back. Never retries and never judges the
// completion code: both are the caller's.
#ifndef IPMI_RAW_COMMAND_H
#define IPMI_RAW_COMMAND_H

#include <list>
#include <string>

namespace kestrel {

// Sends `request` (NetFn, Cmd, data bytes; each two hexadecimal digits in either case) and appends to `*response` the
// completion code and the response bytes. True when the tool ran and a completion code was read. Only the first two
// characters of each element are sent. An empty `toolPath` is a failure.
[[nodiscard]] bool ExecuteIpmiCommand(const std::string& toolPath, std::list<std::string>* response,
                                      const std::list<std::string>& request);

// The same without the test of the tool path and with the elements as they are. Throws std::out_of_range for a tool
// path of fewer than seven characters.
[[nodiscard]] bool ExecuteIpmiCommandList(const std::string& toolPath, std::list<std::string>* response,
                                          const std::list<std::string>& request);

}  // namespace kestrel

#endif  // IPMI_RAW_COMMAND_H
