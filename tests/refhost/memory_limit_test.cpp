// What is made to take more memory than a machine should give for it.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "refhost/common/limited_process.h"
#include "refhost/staged_package.h"
#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

using MemoryLimit = HostTest;

TEST_F(MemoryLimit, MoreThan256MiBAreAResultOfTheProcess) {
  const auto take = [](std::size_t bytes) {
    const std::vector<char> memory(bytes, 'x');
    return WorkResult{'k', std::to_string(memory.size())};
  };
  constexpr std::size_t kMiB = 1024UL * 1024UL;
  EXPECT_EQ(RunLimited([&] { return take(200 * kMiB); }).kind, 'k');
  const WorkResult result = RunLimited([&] { return take(400 * kMiB); });
  EXPECT_EQ(result.kind, kWorkCutOff);
  EXPECT_EQ(result.text, "it takes more than 256 MiB of memory");
}

std::uint32_t Crc32(const std::string& bytes) {
  std::uint32_t crc = 0xffffffff;
  for (const char byte : bytes) {
    crc ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xedb88320U : 0U);
    }
  }
  return ~crc;
}

// The same archive, whose reader must hold so much of it in memory: 33 for 384 MiB, 35 for 768 MiB.
std::string WithDictionary(std::string archive, char size) {
  constexpr std::size_t kBlockHeader = 12;
  constexpr std::size_t kDictionary = kBlockHeader + 4;
  const std::size_t checksum = kBlockHeader + static_cast<unsigned char>(archive.at(kBlockHeader)) * 4UL;
  archive.at(kDictionary) = size;
  const std::uint32_t crc = Crc32(archive.substr(kBlockHeader, checksum - kBlockHeader));
  for (unsigned i = 0; i < 4; ++i) {
    archive.at(checksum + i) = static_cast<char>(crc >> 8U * i);
  }
  return archive;
}

TEST_F(MemoryLimit, APackageThatTakesMoreIsRefused) {
  const std::string archive = ArchiveBuilder().File("a", "b").Build(ArchiveBuilder::Format::kTarXz);
  const auto stage = [&](char dictionary, StagingFailure* failure) {
    const auto package = StagedPackage::Stage(folder_.Write("p", WithDictionary(archive, dictionary)), failure);
    return package && package->Unpack(failure);
  };
  StagingFailure failure;
  EXPECT_TRUE(stage(28, &failure)) << failure.reason;  // 64 MiB, the most that xz takes by itself
  EXPECT_FALSE(stage(33, &failure));
  EXPECT_EQ(failure.reason, "it takes too much memory");
  EXPECT_FALSE(stage(35, &failure));
  EXPECT_EQ(failure.fault, StagingFailure::Fault::kPackage);
}

}  // namespace
}  // namespace refhost
