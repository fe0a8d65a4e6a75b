#include "firmware/requests.h"

#include <algorithm>
#include <string_view>

#include "ipmi/byte_text.h"

namespace kestrel {

namespace {

constexpr std::string_view kPhrase = KESTREL_WRITE_MODE_PHRASE;
static_assert(kPhrase.size() == 22, "KESTREL_WRITE_MODE_PHRASE must be 22 characters long");
static_assert(std::ranges::all_of(kPhrase, [](char character) { return character >= ' ' && character <= '~'; }),
              "KESTREL_WRITE_MODE_PHRASE must be printable ASCII");

}  // namespace

IpmiRequest ChangeWriteModeRequest() {
  IpmiRequest request{"36", "03"};
  for (const char character : kPhrase) {
    AppendNumber(character, 1, &request);
  }
  return request;
}

}  // namespace kestrel
