// Damaged streams: nothing crashes or hangs, what is intact is found, nothing is made up.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "Captures.h"
#include "StreamBuilder.h"
#include "middleware/si/ScannedService.h"

namespace durix::test {
namespace {

// The names that a service description table gives.
std::set<std::string> namesIn(const Bytes& bytes) {
  std::set<std::string> names;
  const auto tables = tablesOf(bytes);
  if (!tables.hasSdt) return names;
  for (const auto& service : offeredServices(tables)) names.insert(service.name);
  return names;
}

class DamagedCapture : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(captureFolder())) GTEST_SKIP() << "no recordings in " << captureFolder();
  }
};

TEST(DamagedStream, OfRandomBytesOffersNothing) {
  std::mt19937 random(1);  // NOLINT: the same bytes every time
  for (const bool hasSync : {false, true}) {
    Bytes bytes(4'000'000);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    for (std::size_t i = 0; hasSync && i < bytes.size(); i += PACKET_SIZE) {
      bytes[i] = SYNC_BYTE;
      bytes[i + 1] &= 0x60;  // PIDs of the tables, often
      bytes[i + 2] &= 0x17;
    }
    EXPECT_TRUE(namesIn(bytes).empty());
  }
}

TEST_F(DamagedCapture, CutAnywhereGivesWhatCameBefore) {
  const Bytes whole = bytesOf("it-mediaset-dvbs-2018");
  const auto all = namesIn(whole);
  std::size_t last = 0;
  for (std::size_t size = 0; size <= whole.size(); size += 47) {
    const auto names = namesIn(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_TRUE(std::ranges::includes(all, names)) << size;
    // Services come with the SDT; a PAT that comes later may take away, but here it is first.
    EXPECT_GE(names.size(), last) << size;
    last = names.size();
  }
  EXPECT_EQ(last, all.size());
}

TEST_F(DamagedCapture, WithFlippedBitsMakesNothingUp) {
  const Bytes whole = bytesOf("fr-tnt-r1-si-2019");
  const auto all = namesIn(whole);
  std::mt19937 random(20240101);  // NOLINT: the same damage every time
  for (int round = 0; round < 300; ++round) {
    Bytes bytes = whole;
    for (int flips = 1 << round % 10; flips > 0; --flips) {
      bytes[random() % bytes.size()] ^= static_cast<std::uint8_t>(1U << random() % 8);
    }
    EXPECT_TRUE(std::ranges::includes(all, namesIn(bytes))) << round;
  }
}

TEST_F(DamagedCapture, WithParityBehindEachPacketIsTheSame) {
  const Bytes plain = bytesOf("cz-mux22-sdt-2021");
  Bytes long204;
  for (std::size_t at = 0; at + PACKET_SIZE <= plain.size(); at += PACKET_SIZE) {
    const auto from = plain.begin() + static_cast<std::ptrdiff_t>(at);
    long204.insert(long204.end(), from, from + PACKET_SIZE);
    long204.insert(long204.end(), 16, 0);
  }
  EXPECT_EQ(namesIn(long204), namesIn(plain));
}

}  // namespace
}  // namespace durix::test
