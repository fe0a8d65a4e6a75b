// One sensor data record as hexadecimal digits, as FindSdrVersion reads it.
#include "firmware/sdr_record.h"

#include "fuzz/property.h"
#include "ipmi/byte_text.h"

namespace {

constexpr std::size_t kVersionAt = 44;
const std::string kMarker = "5344522056657273696F6E20";

void Check(const std::string& record) {
  using State = kestrel::SdrVersionField::State;
  const kestrel::SdrVersionField field = kestrel::FindSdrVersion(record);
  const bool marked = record.size() >= kVersionAt && record.compare(20, kMarker.size(), kMarker) == 0;
  fuzz::Require(marked == (field.state != State::kNoMarker), "a version record is known by its marker");
  fuzz::Require(field.state == State::kFound || field.version.empty(), "there is no version but the found one");
  if (!marked) {
    return;
  }
  const int length = kestrel::ByteValue(record.substr(12, 2));
  const std::size_t held = (record.size() - kVersionAt + 1) / 2;
  if (length < 15) {
    fuzz::Require(field.state == State::kFound && field.version.size() == held, "a short length gives the rest");
  } else {
    const auto promised = static_cast<std::size_t>(length - 15);
    const bool fits = kVersionAt + 2 * promised <= record.size();
    fuzz::Require(fits == (field.state == State::kFound), "what is promised and not there is not found");
    fuzz::Require(!fits || field.version.size() == promised, "what is promised and there is taken exactly");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::Text(data, size);
  Check(text);
  // The same bytes as the version part of a well-marked record, so that its length byte is tried all over.
  if (text.size() >= 2) {
    Check("FFFF010051C0" + text.substr(0, 2) + "000000" + kMarker + text.substr(2));
  }
  return 0;
}
