#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace durix {

enum class DeliverySystem : std::uint8_t { Unknown, Terrestrial, Terrestrial2, Satellite, Satellite2, Cable, Cable2 };
enum class Polarisation : std::uint8_t { Horizontal, Vertical, Left, Right };

/// How a transport stream is sent (EN 300 468, 6.2.13 and 6.4.6).
struct Delivery {
  DeliverySystem system = DeliverySystem::Unknown;
  std::vector<std::uint64_t> frequencies{};  // Hz; the main one first; none when the network does not tell
  std::uint32_t bandwidth = 0;               // Hz, terrestrial
  std::uint32_t symbolRate = 0;              // symbols a second, satellite and cable
  Polarisation polarisation = Polarisation::Horizontal;
  std::int32_t orbitalPosition = 0;   // tenths of a degree, east positive, satellite
  std::optional<std::uint8_t> plp{};  // DVB-T2
};

/// A logical channel number; channels of one number and later regions are sorted out by the list's maker.
struct LogicalChannel {
  std::uint16_t number = 0;
  bool isVisible = true;
};

/// A transport stream of a network.
struct NetworkStream {
  std::uint16_t transportStreamId = 0;
  std::uint16_t originalNetworkId = 0;
  std::vector<Delivery> deliveries{};
  std::map<std::uint16_t, std::uint8_t> serviceList{};               // service type by service
  std::map<std::uint16_t, LogicalChannel> channels{};                // by service
  std::map<std::uint16_t, LogicalChannel> highDefinitionChannels{};  // numbers that receivers of HD take instead
};

/// A network as its NIT describes it (EN 300 468, 5.2.1). The name is canonical UTF-8.
struct Network {
  std::uint16_t id = 0;
  std::string name{};
  std::uint8_t version = 0;
  std::vector<NetworkStream> streams{};
};

}  // namespace durix
