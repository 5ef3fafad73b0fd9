#pragma once

#include <array>
#include <bitset>
#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "middleware/si/EitReader.h"

namespace durix {

/// Which sub-table of events: whose, and which of the tables 0x4E to 0x6F.
struct EventTableKey {
  std::uint16_t originalNetworkId = 0;
  std::uint16_t transportStreamId = 0;
  std::uint16_t serviceId = 0;
  std::uint8_t table = 0;

  // NOLINTNEXTLINE(modernize-use-nullptr): means the zero that the compiler writes
  auto operator<=>(const EventTableKey&) const = default;
};

/// What is new in a sub-table.
struct EventTableUpdate {
  EventTableKey key;
  std::uint8_t lastTable = 0;                                      // of those that the service has of this kind
  bool isWhole = false;                                            // the sub-table has no other sections than `present`
  std::bitset<256> present{};                                      // sections of its newest version
  std::map<std::uint8_t, std::vector<BroadcastEvent>> sections{};  // those that are new or have changed, by number
};

/// Puts the sub-tables of event information together. What a version says is handed out once the version is whole or
/// its carousel has gone round; sections that come again are told by their checksum and cost nothing. Memory is bounded
/// by the numbers of sub-tables and sections and by the size of what waits. Owned and used by one thread.
class EventCarousel {
 public:
  using Sink = std::function<void(EventTableUpdate&&)>;

  explicit EventCarousel(Sink sink, DefaultTable table = DefaultTable::Iso6937)
      : _sink(std::move(sink)), _text(table) {}
  EventCarousel(const EventCarousel&) = delete;
  EventCarousel& operator=(const EventCarousel&) = delete;

  /// Any section of PID 0x12.
  void take(const Section& section);

  /// Nothing more comes: what was received of sub-tables that are not whole counts as well.
  void finish();

  /// Whether all that the stream announces (last tables, last sections) has come, and there was something.
  bool hasGoneRound() const;

  /// Events that made no sense.
  std::uint64_t droppedEvents() const { return _dropped; }

 private:
  struct Seen {
    std::uint8_t version = 0;
    std::uint32_t checksum = 0;
  };
  struct Waiting {
    std::size_t size = 0;  // as broadcast
    std::vector<BroadcastEvent> events{};
  };
  struct SubTable {
    std::optional<std::uint8_t> version{};
    std::uint8_t lastNumber = 0;
    std::uint8_t lastTable = 0;
    std::array<std::int16_t, 32> segmentEnds{};  // number of the last section of each segment; -1: not known
    std::map<std::uint8_t, Seen> sections{};     // by number
    std::map<std::uint8_t, Waiting> waiting{};
    std::size_t repeats = 0;  // since the last news
    bool isSettled = false;
  };

  void forget(SubTable& table, const std::bitset<256>& kept);
  void beginVersion(SubTable& table, const Section& section);
  void handOut(const EventTableKey& key, SubTable& table, bool isWhole);
  static std::bitset<256> present(const SubTable& table);
  static bool isWhole(const SubTable& table);

  const Sink _sink;
  const DefaultTable _text;
  std::map<EventTableKey, SubTable> _tables;
  std::size_t _waiting = 0;  // bytes in all tables, as broadcast
  std::size_t _seen = 0;     // sections of all tables
  std::uint64_t _dropped = 0;
};

}  // namespace durix
