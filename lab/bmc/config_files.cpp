// See config_files.h. The byte table stands in docs/lab.md.
#include "lab/bmc/config_files.h"

#include <algorithm>
#include <array>

namespace kv6000 {

namespace {

constexpr std::uint8_t kFileClass = 0x05;
constexpr std::size_t kPieceHeader = 8;  // class, file, mode, and what else stands in front of the bytes
constexpr std::size_t kLongestPiece = 32;
constexpr std::array<std::uint8_t, 5> kFileSignature = {0x51, 0x54, 0x4c, 0x4d, 0x50};
// Data bytes of Get Capability in front of the support flags.
constexpr std::size_t kOtherCapabilities = 16;

bool IsZero(std::span<const std::uint8_t> bytes) {
  return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

std::size_t OffsetIn(std::span<const std::uint8_t> data) {
  return data[4] | std::size_t{data[5]} << 8U | std::size_t{data[6]} << 16U | std::size_t{data[7]} << 24U;
}

void EndTransfer(ConfigFiles::File& file) {
  file.locked = false;
  file.hasSignature = false;
  file.incoming.clear();
}

}  // namespace

std::span<const Command<ConfigFiles>> ConfigFiles::Table() {
  static constexpr std::array<Command<ConfigFiles>, 5> kTable = {{
      {0x3c, 0x04, 0, 0, &ConfigFiles::GetCapability},
      {0x3c, 0x6a, kPieceHeader, kPieceHeader, &ConfigFiles::Lock},
      {0x3c, 0x69, kPieceHeader + 1, kPieceHeader + kLongestPiece, &ConfigFiles::Write},
      {0x3c, 0x6b, kPieceHeader, kPieceHeader, &ConfigFiles::Unlock},
      {0x34, 0x39, 1, 1, &ConfigFiles::Notify},
  }};
  return kTable;
}

ConfigFiles::File* ConfigFiles::Find(std::span<const std::uint8_t> data) {
  const auto found = files_.find(data[1]);
  return data[0] == kFileClass && found != files_.end() ? &found->second : nullptr;
}

Bytes ConfigFiles::GetCapability(std::span<const std::uint8_t> /*data*/) {
  Bytes answer(1 + kOtherCapabilities, 0x00);
  answer.push_back(support_);
  return answer;
}

Bytes ConfigFiles::Lock(std::span<const std::uint8_t> data) {
  File* file = Find(data);
  if (file == nullptr || data[2] != 0x01 || !IsZero(data.subspan(3))) {
    return {kInvalidData};
  }
  // Whoever locks a locked file takes the transfer over from its beginning.
  const bool wasLocked = file->locked;
  EndTransfer(*file);
  file->locked = true;
  return {wasLocked ? kAlreadyLocked : kOk};
}

Bytes ConfigFiles::Write(std::span<const std::uint8_t> data) {
  File* file = Find(data);
  if (file == nullptr || !IsZero(data.subspan(2, 2))) {
    return {kInvalidData};
  }
  if (!file->locked) {
    return {kWrongState};
  }
  const auto piece = data.subspan(kPieceHeader);
  const std::size_t offset = OffsetIn(data);
  if (offset == 0 && std::ranges::equal(piece, kFileSignature)) {
    file->hasSignature = true;
    return {kOk};
  }
  Bytes& bytes = file->incoming;
  const bool isRepeated =
      bytes.size() >= piece.size() && std::ranges::equal(piece, std::span(bytes).first(piece.size()));
  if (offset == 0 && piece.size() == kFileSignature.size() && !bytes.empty() && !isRepeated) {
    return {kInvalidData};  // at this place and of this length it was to be the signature
  }
  if (offset > bytes.size() || offset + piece.size() > kLongestFile) {
    return {kOutOfRange};
  }
  bytes.resize(std::max(bytes.size(), offset + piece.size()));
  std::ranges::copy(piece, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
  file->hasSignature = false;
  return {kOk};
}

Bytes ConfigFiles::Unlock(std::span<const std::uint8_t> data) {
  File* file = Find(data);
  if (file == nullptr || !IsZero(data.subspan(2))) {
    return {kInvalidData};
  }
  if (!file->locked) {
    return {kWrongState};
  }
  if (file->hasSignature) {
    file->stored = file->incoming;
    file->announced = 0;
  }
  EndTransfer(*file);
  return {kOk};
}

Bytes ConfigFiles::Notify(std::span<const std::uint8_t> data) {
  if (data[0] != 0x01 && data[0] != 0x02) {
    return {kInvalidData};
  }
  File& file = files_.at(data[0] == 0x01 ? kOsFile : kDiskFile);
  if (file.locked || !file.stored) {
    return {kWrongState};
  }
  ++file.announced;
  return {kOk};
}

void ConfigFiles::MachineDown() {
  for (auto& [number, file] : files_) {
    EndTransfer(file);
  }
}

}  // namespace kv6000
