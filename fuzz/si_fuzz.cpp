// Any bytes as a transport stream, and as one section with a right checksum, which bytes at random hardly ever have.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "middleware/si/EitReader.h"
#include "middleware/si/MultiplexScanner.h"
#include "middleware/si/ProgramStream.h"
#include "middleware/si/ProgramWatch.h"
#include "middleware/si/ScannedService.h"
#include "middleware/si/TableReaders.h"
#include "middleware/stream/LoopedStream.h"
#include "middleware/stream/Pacer.h"

namespace {

void scan(std::span<const std::uint8_t> bytes) {
  using durix::MemorySource;
  durix::PacketReader reader(std::make_unique<MemorySource>(std::vector<std::uint8_t>(bytes.begin(), bytes.end())));
  const auto tables = durix::scanMultiplex(reader);
  for (const auto& service : durix::offeredServices(tables)) durix::qualityRank(service, tables.reception);
}

// Received as a service is, a few loops long.
void receive(std::span<const std::uint8_t> bytes) {
  constexpr std::uint16_t SERVICE = 1;
  durix::LoopedStream stream(
      std::make_unique<durix::MemorySource>(std::vector<std::uint8_t>(bytes.begin(), bytes.end())));
  durix::ProgramStream program([](durix::PacketView::Bytes) {});
  durix::ProgramWatch watch(SERVICE, [&](const durix::Program& found) { program.setContents(contentsOf(found)); });
  durix::Pacer pacer;
  while (stream.loops() < 3) {
    const auto packet = stream.next();
    if (!packet) break;
    pacer.due(*packet, durix::Pacer::Time());
    watch.feed(*packet);
    program.feed(*packet);
  }
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
  receive(bytes);
  readTables(bytes);
  durix::decodeDvbText(bytes);
  return 0;
}
