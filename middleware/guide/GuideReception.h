#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <tuple>

#include "middleware/guide/Guide.h"
#include "middleware/si/SectionDemux.h"
#include "middleware/store/Catalogue.h"

namespace durix {

/// Takes the guide out of one stream while it is received, whoever receives it and what for. Owned and used by one
/// thread, the guide's.
class GuideReception {
 public:
  /// The guide outlives this. `shift` makes viewers' time of the stream's.
  GuideReception(Guide& guide, std::shared_ptr<const Catalogue> catalogue, std::uint32_t multiplex, std::int64_t shift);
  GuideReception(const GuideReception&) = delete;
  GuideReception& operator=(const GuideReception&) = delete;

  /// Whether the packet has anything for the guide.
  static bool isWanted(const PacketView& packet);

  void feed(const PacketView& packet) { _demux.feed(packet); }

  /// The stream is over: what was received of it counts.
  void finish() { _carousel.finish(); }

  bool hasGoneRound() const { return _carousel.hasGoneRound(); }

  /// The latest end of an event that makes sense, in the stream's time; nothing without any.
  std::optional<std::int64_t> lastEnd() const { return _lastEnd; }

  /// Events without service, sensible moment or text.
  std::uint64_t dropped() const { return _carousel.droppedEvents() + _strangers; }

 private:
  void takeSection(std::uint16_t pid, const Section& section);
  void take(EventTableUpdate&& update);
  std::optional<std::uint32_t> serviceOf(const EventTableKey& key) const;

  Guide& _guide;
  const std::shared_ptr<const Catalogue> _catalogue;
  Guide::Reception _reception;
  std::map<std::tuple<std::uint16_t, std::uint16_t, std::uint16_t>, std::uint32_t> _services;  // by triplet
  EventCarousel _carousel;
  SectionDemux _demux;
  std::optional<std::int64_t> _lastEnd;
  std::uint64_t _strangers = 0;  // events of services that nobody knows
};

}  // namespace durix
