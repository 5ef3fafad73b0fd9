#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "apps/broadcaster/ts/Bytes.h"
#include "apps/broadcaster/ts/Packet.h"

namespace broadcaster {

/// Reads a transport stream the way a receiver does, and keeps what it finds with the place of the packet. It knows
/// nothing of how the broadcaster writes, but that its bit rate is constant.
class StreamReader {
 public:
  struct Section {
    std::size_t packet;  // of its first byte
    Bytes data;
  };
  struct Clock {
    std::size_t packet;
    Ticks value;
  };
  struct Unit {
    std::size_t lastPacket;  // in which it ends
    Ticks presentation;
    Ticks decoding;
    Bytes data;
  };

  /// `sectionPids` carry sections; every other one carries PES packets.
  void read(const Packet& packet, const std::vector<std::uint16_t>& sectionPids);
  /// Takes what waits for its end as ended.
  void finish();

  std::map<std::uint16_t, std::vector<Section>> sections;
  std::map<std::uint16_t, std::vector<Clock>> clocks;
  std::map<std::uint16_t, std::vector<Unit>> units;
  std::size_t packets = 0;
  std::vector<std::string> errors;  // of syntax and continuity, in words

 private:
  struct Assembly {
    std::size_t packet = 0;
    Bytes data;
  };

  void readClock(std::uint16_t packetId, const Packet& packet);
  void readSections(std::uint16_t packetId, bool starts, const Bytes& payload);
  void readPes(std::uint16_t packetId, bool starts, const Bytes& payload);
  void endUnit(std::uint16_t packetId, Assembly& assembly);
  void complain(std::uint16_t packetId, const std::string& what);

  std::map<std::uint16_t, unsigned> _continuity;
  std::map<std::uint16_t, Assembly> _sections;
  std::map<std::uint16_t, Assembly> _units;
};

}  // namespace broadcaster
