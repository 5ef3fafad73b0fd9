// Any bytes as a transport stream, and as one section with a right checksum, which bytes at random hardly ever have.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "middleware/si/EitReader.h"
#include "middleware/si/MultiplexScanner.h"
#include "middleware/si/ScannedService.h"
#include "middleware/si/TableReaders.h"

namespace {

void scan(std::span<const std::uint8_t> bytes) {
  using durix::MemorySource;
  durix::PacketReader reader(std::make_unique<MemorySource>(std::vector<std::uint8_t>(bytes.begin(), bytes.end())));
  const auto tables = durix::scanMultiplex(reader);
  for (const auto& service : durix::offeredServices(tables)) durix::qualityRank(service, tables.reception);
}

void readTables(std::span<const std::uint8_t> bytes) {
  using durix::Section;
  constexpr std::size_t SMALLEST = Section::LONG_HEADER_SIZE + Section::CHECKSUM_SIZE;
  if (bytes.size() < SMALLEST || bytes.size() > Section::LARGEST_SIZE) return;
  std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
  copy[1] |= 0x80;  // the long header
  const std::vector<Section> sections = {Section(copy)};
  durix::readPat(sections[0]);
  durix::readPmt(sections[0], 0x100);
  durix::readSdt(sections, durix::DefaultTable::Iso6937);
  durix::readNit(sections, durix::DefaultTable::Latin1);
  durix::readEit(sections[0]);
  copy[0] = durix::TOT_TABLE;
  copy[1] &= 0x7F;
  durix::readTime(sections[0]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  scan(bytes);
  readTables(bytes);
  durix::decodeDvbText(bytes);
  return 0;
}
