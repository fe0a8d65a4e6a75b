#include "report/lan_settings.h"

#include <cstddef>

#include "host/DllCommon.h"

namespace kestrel {

namespace {

constexpr std::size_t kFirstMacElement = 2;
constexpr std::size_t kLastMacElement = 7;
constexpr std::size_t kTcpipBytes = 15;
// One byte short of what is read of them: such an answer is taken, and fails when its DHCP flag is read.
constexpr std::size_t kLeastTcpipBytes = 14;

// Positions in the joined digits.
constexpr std::size_t kAddressStart = 0;
constexpr std::size_t kNetmaskStart = 8;
constexpr std::size_t kGatewayStart = 16;
constexpr std::size_t kDhcpFlagStart = 28;

long DigitValue(const std::string& digit) {
  if (digit >= "A" && digit <= "F") {
    return digit[0] - 'A' + 10;
  }
  return CStringUtil::TStringToNumber(digit);
}

std::string DecimalByte(const std::string& digits, std::size_t position) {
  const long high = DigitValue(digits.substr(position, 1));
  const long low = DigitValue(digits.substr(position + 1, 1));
  return CStringUtil::NumberToTString(16 * high + low);
}

std::string DottedDecimal(const std::string& digits, std::size_t position) {
  return DecimalByte(digits, position) + "." + DecimalByte(digits, position + 2) + "." +
         DecimalByte(digits, position + 4) + "." + DecimalByte(digits, position + 6);
}

}  // namespace

bool JoinMacAddress(const IpmiReply& reply, std::string* text) {
  text->clear();
  for (std::size_t i = kFirstMacElement; i < kLastMacElement; ++i) {
    if (i >= reply.Elements().size()) {
      return false;
    }
    *text += reply.Element(i) + ":";
  }
  *text += reply.Element(kLastMacElement);
  return true;
}

bool JoinTcpipInfo(const IpmiReply& reply, std::string* digits) {
  digits->clear();
  for (std::size_t i = 1; i <= kTcpipBytes; ++i) {
    *digits += reply.Element(i);
  }
  return reply.Elements().size() > kLeastTcpipBytes;
}

LanSettings ParseTcpipInfo(const std::string& digits) {
  const std::string upper = CStringUtil::StringToUpperCase(digits);
  // Reads both digits, so it is here that an answer of 14 bytes ends.
  const std::string dhcpFlag = upper.substr(kDhcpFlagStart, 1) + upper.substr(kDhcpFlagStart + 1, 1);
  return {DottedDecimal(upper, kAddressStart), DottedDecimal(upper, kNetmaskStart), DottedDecimal(upper, kGatewayStart),
          dhcpFlag};
}

}  // namespace kestrel
