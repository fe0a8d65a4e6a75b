// Says how a run ended to the machine's own log: the journal of systemd, or a syslog. Where there is neither, or it
// does not take the message at once, nothing is said; a run never waits for it and never fails because of it.
#ifndef ORVHOST_RUN_SYSTEM_LOG_H
#define ORVHOST_RUN_SYSTEM_LOG_H

#include <string>
#include <string_view>

#include "orvhost/interface/outcome.h"

namespace orvhost {

// Of a run that loads a plug-in, under that install path.
void SayToSystemLog(const Outcome& outcome, const std::string& installPath);

// The journal's MESSAGE_ID of a verdict: 32 hexadecimal digits that follow from its word alone, the FNV-1a hash (128
// bit) of "orvhost " and the word.
[[nodiscard]] std::string MessageId(std::string_view verdict);

// The fields of the message as systemd's journal takes them, a line each.
[[nodiscard]] std::string JournalFields(const Outcome& outcome, const std::string& installPath);

// The same as a syslog takes it, from the process of that number.
[[nodiscard]] std::string SyslogLine(const Outcome& outcome, int pid);

}  // namespace orvhost

#endif  // ORVHOST_RUN_SYSTEM_LOG_H
