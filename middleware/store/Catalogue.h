#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "middleware/receivers/ReceiverSettings.h"
#include "middleware/si/ScannedService.h"

namespace durix {

/// Kinds of objects in durix_esg_object.
enum class ObjectKind : std::uint32_t { Service = 1, Event = 2, Feed = 3, Timer = DURIX_OBJECT_TIMER, Recording = 9 };

/// The type of the data feed that stands first among a service's feeds; none that a player chooses.
inline constexpr std::int32_t FEED_GUIDE_DATA = 20;

/// A feed of a service: the guide data of its multiplex, or a component that can be played.
struct Feed {
  std::uint32_t id = 0;
  std::int32_t type = FEED_GUIDE_DATA;  // attribute 26
  std::int32_t contentType = DURIX_FEED_CONTENT_ANY;
  std::uint16_t pid = 0;
  std::uint8_t streamType = 0;  // ISO/IEC 13818-1, table 2-34
  std::int32_t tag = -1;        // component tag; -1 without
  std::uint16_t page = 0;       // teletext page or composition page of subtitles; 0 without
  std::string language;         // ISO 639, lower case
};

struct StoredService {
  std::uint32_t id = 0;
  std::uint32_t multiplex = 0;
  ReceiverType receiver = ReceiverType::Any;
  std::uint16_t originalNetworkId = 0;
  std::uint16_t transportStreamId = 0;
  std::uint16_t serviceId = 0;
  std::string name;
  ServiceKind kind = ServiceKind::Other;
  bool isProtected = false;
  bool isHidden = false;  // gone from its frequency; its identifier is kept for whoever remembers it
  std::int32_t channelNumber = 0;
  std::int32_t quality = 0;
  std::vector<Feed> feeds;
};

struct StoredMultiplex {
  std::uint32_t id = 0;
  ReceiverType receiver = ReceiverType::Any;
  durix_scan_frequency tuning{};
};

/// What the middleware knows of providers, multiplexes and services at one moment. Never changes: after a scan there is
/// a new one, and who still reads the old one keeps it.
struct Catalogue {
  std::vector<ReceiverType> providers;
  std::map<std::uint32_t, StoredMultiplex> multiplexes;
  std::map<std::uint32_t, StoredService> services;       // by identifier, hidden ones too
  std::map<std::uint32_t, std::uint32_t> serviceOfFeed;  // feed to service

  const StoredService* service(std::uint32_t id) const;
  const Feed* feed(std::uint32_t id) const;
};

}  // namespace durix
