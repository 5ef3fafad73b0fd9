#include "StreamBuilder.h"

#include <algorithm>

namespace durix::test {

Bytes join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

Bytes word(unsigned value) {
  return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

Bytes text(std::string_view value) {
  return {value.begin(), value.end()};
}

Bytes descriptor(std::uint8_t tag, const Bytes& data) {
  return join({{tag, static_cast<std::uint8_t>(data.size())}, data});
}

Bytes serviceDescriptor(std::uint8_t type, std::string_view name, std::string_view provider) {
  const auto sized = [](std::string_view value) {
    return join({{static_cast<std::uint8_t>(value.size())}, text(value)});
  };
  return descriptor(0x48, join({{type}, sized(provider), sized(name)}));
}

Bytes section(const SectionHead& head, const Bytes& body) {
  const std::size_t length = body.size() + 9;
  Bytes bytes =
      join({{head.table},
            word(static_cast<unsigned>(0xB000 | length)),
            word(head.extension),
            {static_cast<std::uint8_t>(0xC0 | head.version << 1 | (head.isCurrent ? 1 : 0)), head.number, head.last},
            body});
  const std::uint32_t checksum = sectionChecksum(bytes);
  return join({bytes, word(checksum >> 16), word(checksum & 0xFFFF)});
}

Bytes patSection(std::uint16_t stream, const std::vector<std::pair<unsigned, unsigned>>& programs, std::uint8_t version,
                 std::uint8_t last) {
  Bytes body;
  for (const auto& [number, pid] : programs) body = join({body, word(number), word(0xE000 | pid)});
  return section({.table = 0, .extension = stream, .version = version, .last = last}, body);
}

Bytes pmtSection(std::uint16_t program, const std::vector<std::pair<std::uint8_t, Bytes>>& streams) {
  Bytes body = join({word(0xE000 | 0x100), word(0xF000)});
  unsigned pid = 0x100;
  for (const auto& [type, descriptors] : streams) {
    const auto length = static_cast<unsigned>(descriptors.size());
    body = join({body, {type}, word(0xE000 | pid++), word(0xF000 | length), descriptors});
  }
  return section({.table = 2, .extension = program}, body);
}

Bytes sdtEntry(std::uint16_t service, const Bytes& descriptors, bool isProtected) {
  const auto length = static_cast<unsigned>(descriptors.size());
  return join({word(service), {0xFD}, word(0x8000 | (isProtected ? 0x1000 : 0) | length), descriptors});
}

Bytes sdtBody(std::uint16_t originalNetwork, std::initializer_list<Bytes> entries) {
  return join({word(originalNetwork), {0xFF}, join(entries)});
}

Bytes nitSection(std::uint16_t network, std::uint16_t stream, std::uint16_t originalNetwork, const Bytes& descriptors) {
  const auto length = static_cast<unsigned>(descriptors.size());
  const Bytes name = descriptor(0x40, text("Net"));
  return section({.table = 0x40, .extension = network},
                 join({word(0xF000 | static_cast<unsigned>(name.size())), name, word(0xF000 | (length + 6)),
                       word(stream), word(originalNetwork), word(0xF000 | length), descriptors}));
}

Bytes& StreamBuilder::begin(std::uint16_t pid, bool startsUnit, std::uint8_t control) {
  auto& counter = _counters[pid];
  const auto first = static_cast<std::uint8_t>((startsUnit ? 0x40 : 0) | pid >> 8);
  const auto last = static_cast<std::uint8_t>(control | (counter & 0x0F));
  if ((control & 0x10) != 0) ++counter;
  _bytes = join({_bytes, {SYNC_BYTE, first, static_cast<std::uint8_t>(pid), last}});
  return _bytes;
}

StreamBuilder& StreamBuilder::add(std::uint16_t pid, std::initializer_list<Bytes> sections) {
  constexpr std::size_t PAYLOAD_SIZE = PACKET_SIZE - 4;
  const Bytes payload = join(sections);
  std::vector<std::size_t> starts;
  std::size_t start = 0;
  for (const auto& part : sections) {
    starts.push_back(start);
    start += part.size();
  }
  for (std::size_t at = 0; at < payload.size();) {
    // A packet in which a section begins points to the first one.
    const auto next = std::ranges::lower_bound(starts, at);
    const bool startsUnit = next != starts.end() && *next < at + PAYLOAD_SIZE - 1;
    auto& bytes = begin(pid, startsUnit, 0x10);
    if (startsUnit) bytes.push_back(static_cast<std::uint8_t>(*next - at));
    const std::size_t size = std::min(PAYLOAD_SIZE - (startsUnit ? 1 : 0), payload.size() - at);
    const auto from = payload.begin() + static_cast<std::ptrdiff_t>(at);
    bytes.insert(bytes.end(), from, from + static_cast<std::ptrdiff_t>(size));
    bytes.resize((bytes.size() + PACKET_SIZE - 1) / PACKET_SIZE * PACKET_SIZE, 0xFF);
    at += size;
  }
  return *this;
}

StreamBuilder& StreamBuilder::addPcr(std::uint16_t pid, std::uint64_t ticks) {
  const std::uint64_t base = ticks / 300;
  const std::uint64_t extension = ticks % 300;
  auto& bytes = begin(pid, false, 0x20);
  bytes.insert(bytes.end(), {183, 0x10});
  for (const int shift : {25, 17, 9, 1}) bytes.push_back(static_cast<std::uint8_t>(base >> shift));
  bytes.push_back(static_cast<std::uint8_t>((base & 1) << 7 | 0x7E | extension >> 8));
  bytes.push_back(static_cast<std::uint8_t>(extension));
  bytes.resize(bytes.size() + 176, 0xFF);
  return *this;
}

PacketReader readerOf(const Bytes& bytes) {
  return PacketReader(std::make_unique<MemorySource>(bytes));
}

MultiplexTables tablesOf(const Bytes& bytes) {
  auto reader = readerOf(bytes);
  MultiplexScanner scanner;
  while (const auto packet = reader.next()) scanner.feed(*packet);
  return scanner.result();
}

}  // namespace durix::test
