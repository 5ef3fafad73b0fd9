#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace durix::test {

using Bytes = std::vector<std::uint8_t>;

/// A packet of 188 bytes; what the payload does not fill is stuffing.
struct PacketParts {
  std::uint16_t pid = 0;
  std::uint8_t counter = 0;
  bool startsUnit = false;
  bool isRandomAccess = false;
  std::optional<std::uint64_t> pcr{};  // 27 MHz
  Bytes payload{};
};
Bytes packetOf(const PacketParts& parts);

/// A unit of an elementary stream: its header, with its length unless it is of a picture.
Bytes unitOf(std::uint8_t streamId, std::uint64_t time, const Bytes& data);

/// Numbers of a service on air: its place in the list of names, from 0.
constexpr std::uint16_t pmtPid(std::size_t place) {
  return static_cast<std::uint16_t>(0x100 + place);
}
constexpr std::uint16_t videoPid(std::size_t place) {
  return static_cast<std::uint16_t>(0x200 + 16 * place);
}
constexpr std::uint16_t firstSoundPid(std::size_t place) {  // of two
  return static_cast<std::uint16_t>(videoPid(place) + 1);
}

/// A multiplex of services with a picture of 25 frames a second, a key frame each half second and two sounds (fra,
/// eng), clock on the picture, for some seconds.
Bytes multiplexOf(const std::vector<std::string>& names, std::uint16_t transportStream, unsigned seconds);

/// What a file of packets holds: how many of each PID.
std::map<std::uint16_t, unsigned> pidsIn(const std::filesystem::path& file);

}  // namespace durix::test
