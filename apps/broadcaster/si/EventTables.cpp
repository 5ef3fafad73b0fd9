#include <algorithm>

#include "apps/broadcaster/si/Descriptors.h"
#include "apps/broadcaster/si/Tables.h"
#include "apps/broadcaster/ts/Section.h"

namespace broadcaster {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;

constexpr std::uint64_t RUNNING = 4;
constexpr std::uint64_t NOT_SAID = 0;

/// A schedule table holds 32 segments of eight sections, four days (TR 101 211, 4.1.4.2).
constexpr hours SEGMENT{3};
constexpr std::size_t SECTIONS_OF_SEGMENT = 8;
constexpr std::size_t SEGMENTS_OF_TABLE = 32;

/// What stands before the events in the body of a section.
constexpr std::size_t FIXED = 6;

Bytes eventBytes(const Service& service, const Event& event, std::string_view countryCode, std::uint64_t status) {
  ByteWriter writer;
  writer.u16(event.id);
  writeUtc(writer, event.start);
  writeDuration(writer, event.length());
  writer.sized12(status << 1 | (service.isProtected ? 1 : 0), [&] {
    descriptor::shortEvent(writer, service, *event.programme);
    descriptor::extendedEvent(writer, service, *event.programme);
    descriptor::content(writer, *event.programme);
    descriptor::parentalRating(writer, *event.programme, countryCode);
  });
  return writer.get();
}

Bytes eventSection(const Network& network, const Multiplex& multiplex, const SectionHeader& header,
                   std::size_t lastOfSegment, std::uint64_t lastTable, const Bytes& events) {
  ByteWriter body;
  body.u16(multiplex.transportStream);
  body.u16(network.id);
  body.u8(lastOfSegment);
  body.u8(lastTable);
  body.bytes(events);
  return makeSection(header, body.get());
}

/// The sections of one segment, without headers: at least one, though it be empty.
std::vector<Bytes> packSegment(const std::vector<Bytes>& events, std::uint8_t tableId) {
  std::vector<Bytes> sections(1);
  for (const Bytes& event : events) {
    if (sections.back().size() + event.size() > bodyCapacity(tableId) - FIXED) sections.emplace_back();
    sections.back().insert(sections.back().end(), event.begin(), event.end());
  }
  if (sections.size() > SECTIONS_OF_SEGMENT) throw std::length_error("three hours have too many programmes");
  return sections;
}

}  // namespace

std::vector<Bytes> presentAndFollowing(const Network& network, const Multiplex& multiplex, const Service& service,
                                       const Multiplex& own, Moment now) {
  const std::vector<Event> events = schedule(service.programmes, now, now + hours(12));
  if (events.size() < 2) return {};
  const std::size_t running = events[0].start <= now ? 1 : 0;  // none in a pause: the first section is empty then
  std::vector<Bytes> sections;
  for (std::uint8_t number = 0; number < 2; ++number) {
    const SectionHeader header{.tableId = static_cast<std::uint8_t>(&multiplex == &own ? 0x4E : 0x4F),
                               .extension = service.id,
                               .version = static_cast<std::uint8_t>((2 * events[0].ordinal + running) % 32),
                               .number = number,
                               .last = 1};
    Bytes event;
    if (number == 1 || running == 1) {
      const Event& told = events[number == 0 ? 0 : running];
      event = eventBytes(service, told, network.countryCode, number == 0 ? RUNNING : NOT_SAID);
    }
    sections.push_back(eventSection(network, multiplex, header, 1, header.tableId, event));
  }
  return sections;
}

std::vector<Bytes> eventSchedule(const Network& network, const Multiplex& multiplex, const Service& service,
                                 const Multiplex& own, Moment now, Moment until) {
  const Moment midnight = floor<days>(now);
  const std::uint8_t firstTable = &multiplex == &own ? 0x50 : 0x60;
  const std::vector<Event> events = schedule(service.programmes, now, until);
  if (events.empty()) return {};

  // Segments count from midnight; those that are over stay as empty sections, so that the table is complete.
  std::vector<std::vector<Bytes>> segments;
  for (const Event& event : events) {
    const auto segment = static_cast<std::size_t>((event.start - midnight) / SEGMENT);
    segments.resize(std::max(segments.size(), segment + 1));
    const std::uint64_t status = event.start <= now ? RUNNING : NOT_SAID;
    segments[segment].push_back(eventBytes(service, event, network.countryCode, status));
  }

  std::vector<Bytes> sections;
  const std::size_t lastTable = firstTable + (segments.size() - 1) / SEGMENTS_OF_TABLE;
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const std::size_t firstOfTable = i / SEGMENTS_OF_TABLE * SEGMENTS_OF_TABLE;
    const std::size_t endOfTable = std::min(segments.size(), firstOfTable + SEGMENTS_OF_TABLE);
    const auto tableId = static_cast<std::uint8_t>(firstTable + i / SEGMENTS_OF_TABLE);
    const auto first = (i - firstOfTable) * SECTIONS_OF_SEGMENT;
    const auto lastSegmentOfTable = packSegment(segments[endOfTable - 1], tableId).size() - 1;
    const auto last = (endOfTable - 1 - firstOfTable) * SECTIONS_OF_SEGMENT + lastSegmentOfTable;
    const std::vector<Bytes> packed = packSegment(segments[i], tableId);
    for (std::size_t k = 0; k < packed.size(); ++k) {
      const SectionHeader header{
          .tableId = tableId,
          .extension = service.id,
          .version = static_cast<std::uint8_t>(floor<hours>(now).time_since_epoch().count() % 32),
          .number = static_cast<std::uint8_t>(first + k),
          .last = static_cast<std::uint8_t>(last)};
      sections.push_back(eventSection(network, multiplex, header, first + packed.size() - 1, lastTable, packed[k]));
    }
  }
  return sections;
}

}  // namespace broadcaster
