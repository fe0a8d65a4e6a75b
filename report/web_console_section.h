// The report's section on the network settings under which the BMC's web console is reached.
#ifndef REPORT_WEB_CONSOLE_SECTION_H
#define REPORT_WEB_CONSOLE_SECTION_H

#include "host/DllCommon.h"

namespace kestrel {

// Asks the BMC and adds MAC address, IPv4 address, netmask, gateway and DHCP state to `section`. host::kSuccess;
// host::kFailure when the BMC did not answer or its DHCP state is unknown, and then nothing was added. Throws
// std::out_of_range when the Tcpip info has 14 data bytes, one too few for the DHCP state.
[[nodiscard]] int FillWebConsoleSection(COrvXmlNode* section);

}  // namespace kestrel

#endif  // REPORT_WEB_CONSOLE_SECTION_H
