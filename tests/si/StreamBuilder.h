#pragma once

#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "middleware/si/MultiplexScanner.h"

namespace durix::test {

using Bytes = std::vector<std::uint8_t>;

/// Bytes joined: numbers, texts and other bytes, in order.
Bytes join(std::initializer_list<Bytes> parts);
Bytes word(unsigned value);
Bytes text(std::string_view value);

Bytes descriptor(std::uint8_t tag, const Bytes& data);
Bytes serviceDescriptor(std::uint8_t type, std::string_view name, std::string_view provider = "P");

/// A section with its long header and checksum.
struct SectionHead {
  std::uint8_t table = 0;
  std::uint16_t extension = 0;
  std::uint8_t version = 0;
  std::uint8_t number = 0;
  std::uint8_t last = 0;
  bool isCurrent = true;
};
Bytes section(const SectionHead& head, const Bytes& body);

Bytes patSection(std::uint16_t stream, const std::vector<std::pair<unsigned, unsigned>>& programs,
                 std::uint8_t version = 0, std::uint8_t last = 0);
Bytes pmtSection(std::uint16_t program, const std::vector<std::pair<std::uint8_t, Bytes>>& streams);
Bytes sdtEntry(std::uint16_t service, const Bytes& descriptors, bool isProtected = false);
Bytes sdtBody(std::uint16_t originalNetwork, std::initializer_list<Bytes> entries);
Bytes nitSection(std::uint16_t network, std::uint16_t stream, std::uint16_t originalNetwork, const Bytes& descriptors);

/// Packets of 188 bytes with running continuity counters.
class StreamBuilder {
 public:
  /// Sections one behind the other, starting in a new packet.
  StreamBuilder& add(std::uint16_t pid, std::initializer_list<Bytes> sections);
  StreamBuilder& addPcr(std::uint16_t pid, std::uint64_t ticks);

  const Bytes& bytes() const { return _bytes; }

 private:
  Bytes& begin(std::uint16_t pid, bool startsUnit, std::uint8_t control);

  Bytes _bytes;
  std::map<std::uint16_t, std::uint8_t> _counters;
};

PacketReader readerOf(const Bytes& bytes);
MultiplexTables tablesOf(const Bytes& bytes);

}  // namespace durix::test
