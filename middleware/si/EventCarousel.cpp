#include "middleware/si/EventCarousel.h"

#include <algorithm>
#include <utility>

namespace durix {

namespace {
// A satellite of hundreds of services with all their tables has some tens of thousands.
constexpr std::size_t MOST_SUBTABLES = 1U << 17;
// Sections that were seen, of which little is kept; that satellite has some hundred thousand.
constexpr std::size_t MOST_SEEN = 1U << 20;
// Bytes of versions that are not whole yet, which take some times as much when they are read; a busy satellite has some
// thousands of sections at a time.
constexpr std::size_t MOST_WAITING = 1U << 24;
constexpr unsigned SECTIONS_OF_SEGMENT = 8;

bool isPresentFollowing(std::uint8_t table) {
  return table <= EIT_PRESENT_OTHER_TABLE;
}

std::uint8_t firstTableOf(std::uint8_t table) {
  return table < EIT_SCHEDULE_OTHER_TABLE ? EIT_SCHEDULE_ACTUAL_TABLE : EIT_SCHEDULE_OTHER_TABLE;
}

std::uint32_t checksumOf(const Section& section) {
  std::uint32_t checksum = 0;
  for (const std::uint8_t byte : section.bytes().last(Section::CHECKSUM_SIZE)) checksum = checksum << 8 | byte;
  return checksum;
}

std::optional<EventTableKey> keyOf(const Section& section) {
  const auto body = section.body();
  if (body.size() < 4) return std::nullopt;
  return EventTableKey{.originalNetworkId = static_cast<std::uint16_t>(body[2] << 8 | body[3]),
                       .transportStreamId = static_cast<std::uint16_t>(body[0] << 8 | body[1]),
                       .serviceId = section.extension(),
                       .table = section.tableId()};
}
}  // namespace

void EventCarousel::take(const Section& section) {
  if (!section.isLong() || !isEit(section.tableId()) || !section.isCurrent()) return;
  const auto key = keyOf(section);
  if (!key || (_tables.size() >= MOST_SUBTABLES && !_tables.contains(*key))) return;
  SubTable& table = _tables[*key];
  if (table.version != section.version()) beginVersion(table, section);
  const Seen seen{.version = section.version(), .checksum = checksumOf(section)};
  const auto known = table.sections.find(section.number());
  if (known != table.sections.end() && known->second.version == seen.version &&
      known->second.checksum == seen.checksum) {
    if (!table.isSettled && ++table.repeats >= present(table).count()) handOut(*key, table, false);
    return;
  }
  if (known == table.sections.end() && _seen >= MOST_SEEN) return;
  auto content = readEit(section, _text);
  if (!content) return;
  _dropped += content->dropped;
  table.repeats = 0;
  table.isSettled = false;
  table.lastNumber = std::max(section.lastNumber(), section.number());
  table.lastTable = content->lastTable;
  table.segmentEnds[section.number() / SECTIONS_OF_SEGMENT] = content->segmentLastNumber;
  if (table.sections.insert_or_assign(section.number(), seen).second) ++_seen;
  forget(table, ~std::bitset<256>() >> (255U - table.lastNumber));  // it may be shorter without another version
  Waiting& waiting = table.waiting[section.number()];
  _waiting += section.bytes().size() - waiting.size;
  waiting = {.size = section.bytes().size(), .events = std::move(content->events)};
  const bool whole = isWhole(table);
  if (whole || _waiting > MOST_WAITING) handOut(*key, table, whole);
}

void EventCarousel::forget(SubTable& table, const std::bitset<256>& kept) {
  _seen -= std::erase_if(table.sections, [&](const auto& entry) { return !kept[entry.first]; });
}

// What waits of the version before stays until the new one takes its place.
void EventCarousel::beginVersion(SubTable& table, const Section& section) {
  table.version = section.version();
  table.segmentEnds.fill(-1);
  table.repeats = 0;
}

void EventCarousel::handOut(const EventTableKey& key, SubTable& table, bool isWhole) {
  EventTableUpdate update{.key = key, .lastTable = table.lastTable, .isWhole = isWhole, .present = present(table)};
  for (auto& [number, waiting] : std::exchange(table.waiting, {})) {
    _waiting -= waiting.size;
    if (!isWhole || update.present[number]) update.sections.emplace(number, std::move(waiting.events));
  }
  if (isWhole) forget(table, update.present);
  table.isSettled = true;
  _sink(std::move(update));
}

void EventCarousel::finish() {
  for (auto& [key, table] : _tables) {
    if (!table.isSettled && !table.waiting.empty()) handOut(key, table, false);
  }
}

bool EventCarousel::hasGoneRound() const {
  if (_tables.empty()) return false;
  return std::ranges::all_of(_tables, [this](const auto& entry) {
    const auto& [key, table] = entry;
    if (!table.isSettled) return false;
    if (isPresentFollowing(key.table)) return true;
    EventTableKey other = key;
    for (unsigned number = firstTableOf(key.table); number <= table.lastTable && number <= EIT_LAST_TABLE; ++number) {
      other.table = static_cast<std::uint8_t>(number);
      if (!_tables.contains(other)) return false;
    }
    return true;
  });
}

std::bitset<256> EventCarousel::present(const SubTable& table) {
  std::bitset<256> numbers;
  for (const auto& [number, seen] : table.sections) {
    if (seen.version == table.version) numbers.set(number);
  }
  return numbers;
}

// Schedules are sent in segments of up to eight sections (EN 300 468, 5.2.4), each of which says where it ends; what a
// broadcaster says wrongly is taken as the nearest that can be.
bool EventCarousel::isWhole(const SubTable& table) {
  const auto numbers = present(table);
  for (unsigned first = 0; first <= table.lastNumber; first += SECTIONS_OF_SEGMENT) {
    const int told = table.segmentEnds[first / SECTIONS_OF_SEGMENT];
    if (told < 0) return false;
    const unsigned last = std::min<unsigned>(first + SECTIONS_OF_SEGMENT - 1, table.lastNumber);
    for (unsigned number = first; number <= std::clamp<unsigned>(static_cast<unsigned>(told), first, last); ++number) {
      if (!numbers[number]) return false;
    }
  }
  return true;
}

}  // namespace durix
