#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string_view>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/si/Descriptors.h"
#include "apps/broadcaster/si/Tables.h"
#include "apps/broadcaster/ts/Section.h"

namespace broadcaster {
namespace {

using namespace std::chrono_literals;

Moment moment(const char* text) {
  return readMoment(text);
}

TEST(Sections, HaveTheChecksumThatTheStandardWants) {
  const std::string_view digits = "123456789";
  EXPECT_EQ(crc32({reinterpret_cast<const std::uint8_t*>(digits.data()), digits.size()}), 0x0376E6E7U);  // check value
  const Bytes section = makeSection({.tableId = 0x42, .extension = 0x1234, .version = 31, .last = 7}, Bytes(100, 0xAA));
  EXPECT_EQ(crc32(section), 0U);  // what a receiver computes over the whole
  EXPECT_EQ(section[5], 0xFF);    // version 31, valid now
}

TEST(Sections, TakeWhatTheStandardAllowsAndNoMore) {
  struct Row {
    std::size_t most;
    std::uint8_t table;
    std::uint8_t flags;
    const char* reason;
  };
  const Row rows[] = {
      {1024, 0x00, 0xB0, "PSI: 1024 bytes, and a 0 after the syntax indicator"},
      {1024, 0x42, 0xF0, "SDT: 1024 bytes"},
      {4096, 0x4E, 0xF0, "EIT: 4096 bytes, from the first table identifier"},
      {4096, 0x6F, 0xF0, "to the last"},
      {1024, 0x70, 0xF0, "what comes after the EIT"},
  };
  for (const Row& row : rows) {
    const std::size_t room = bodyCapacity(row.table);
    const Bytes section = makeSection({.tableId = row.table}, Bytes(room));
    EXPECT_EQ(section.size(), row.most) << row.reason;
    EXPECT_EQ(section[1] & 0xF0, row.flags) << row.reason;
    EXPECT_EQ(((section[1] & 0xFU) << 8 | section[2]) + 3U, row.most) << row.reason;
    EXPECT_THROW(makeSection({.tableId = row.table}, Bytes(room + 1)), std::length_error) << row.reason;
  }
}

TEST(Tables, TellTimeInTheShortForm) {
  // The example of EN 300 468 annex C: 1993-10-13 12:45:00 is C079124500.
  EXPECT_EQ(timeAndDate(moment("1993-10-13T12:45:00Z")), (Bytes{0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x00}));
  EXPECT_EQ(crc32(timeOffset(moment("1993-10-13T12:45:00Z"), "DEU")), 0U);
}

TEST(Tables, AnnounceTheNextChangeOfTheClock) {
  struct Row {
    const char* zone;
    const char* now;
    Bytes fields;  // behind the country code
    const char* reason;
  };
  const Row rows[] = {
      {"CET-1CEST,M3.5.0,M10.5.0/3",
       "2026-01-15T12:00Z",
       {0x02, 0x01, 0x00, 0xEE, 0xC8, 0x01, 0x00, 0x00, 0x02, 0x00},
       "winter: one hour east until 2026-03-29 01:00 UTC, then two"},
      {"CET-1CEST,M3.5.0,M10.5.0/3",
       "2026-03-29T01:00Z",
       {0x02, 0x02, 0x00, 0xEF, 0x9A, 0x01, 0x00, 0x00, 0x01, 0x00},
       "the second of the change belongs to summer, which ends on 2026-10-25"},
      {"NST3:30",
       "2026-01-15T12:00Z",
       {0x03, 0x03, 0x30, 0xEE, 0xF0, 0x12, 0x00, 0x00, 0x03, 0x30},
       "west of Greenwich the polarity bit is set; without a change, the same offset in a year"},
      {"UTC", "2026-01-15T12:00Z", {0x02, 0x00, 0x00, 0xEE, 0xF0, 0x12, 0x00, 0x00, 0x00, 0x00}, "no offset at all"},
  };
  for (Row row : rows) {
    useZone(row.zone);
    if (!nextOffsetChange(moment(row.now))) {
      // A year on, as the fields must say something.
      ByteWriter later;
      writeUtc(later, moment(row.now) + std::chrono::days(365));
      std::ranges::copy(later.get(), row.fields.begin() + 3);
    }
    ByteWriter writer;
    descriptor::localTimeOffset(writer, moment(row.now), "DEU");
    EXPECT_EQ(Bytes(writer.get().begin() + 5, writer.get().end()), row.fields) << row.reason;
  }
  useZone("UTC");
}

// What the guide of one service announces is complete: EN 300 468, 5.2.4, and TR 101 211, 4.1.4.
class Schedule : public testing::Test {
 protected:
  void load(Moment now, Moment until) {
    _sections = eventSchedule(_network, _multiplex, _multiplex.services[0], _multiplex, now, until);
  }

  std::set<std::pair<int, int>> present() const {
    std::set<std::pair<int, int>> numbers;
    for (const Bytes& section : _sections) numbers.emplace(section[0], section[6]);
    return numbers;
  }

  Network _network = sampleNetwork(true);
  const Multiplex& _multiplex = _network.multiplexes[0];
  std::vector<Bytes> _sections;
};

TEST_F(Schedule, SendsEverySectionThatItAnnounces) {
  struct Row {
    const char* now;
    std::chrono::hours length;
    std::set<int> tables;
    const char* reason;
  };
  const Row rows[] = {
      {"2026-05-04T00:00:00Z", 8h, {0x50}, "from midnight on"},
      {"2026-05-04T23:59:59Z", 8h, {0x50}, "over midnight"},
      {"2026-05-04T10:17:00Z", 1h, {0x50}, "less than a segment"},
      {"2026-05-04T12:00:00Z", 24h * 7, {0x50, 0x51}, "a week: a table holds four days"},
      {"2026-05-04T00:00:00Z", 24h * 4, {0x50}, "four days to the second"},
  };
  for (const Row& row : rows) {
    load(moment(row.now), moment(row.now) + row.length);
    std::set<int> tables;
    for (const Bytes& section : _sections) {
      tables.insert(section[0]);
      EXPECT_EQ(section[13], *row.tables.rbegin()) << row.reason;  // last_table_id
      const int firstOfSegment = section[6] / 8 * 8;
      EXPECT_LT(section[12], firstOfSegment + 8) << row.reason;
      // The first section of each segment up to the last, and the others of the segment
      for (int number = 0; number <= section[7]; number += 8) {
        EXPECT_TRUE(present().contains({section[0], number})) << row.reason << ": section " << number;
      }
      for (int number = firstOfSegment; number <= section[12]; ++number) {
        EXPECT_TRUE(present().contains({section[0], number})) << row.reason << ": section " << number;
      }
    }
    EXPECT_EQ(tables, row.tables) << row.reason;
  }
}

TEST_F(Schedule, PutsEachEventIntoTheSegmentOfItsStart) {
  const Moment now = moment("2026-05-04T21:30:00Z");
  const Moment midnight = moment("2026-05-04T00:00:00Z");
  load(now, now + 100h);
  std::size_t events = 0;
  for (const Bytes& section : _sections) {
    for (std::size_t at = 14; at + 4 < section.size(); ++events) {
      ByteWriter earliest;
      ByteWriter end;
      const auto segment = (section[0] - 0x50) * 32 + section[6] / 8;
      writeUtc(earliest, midnight + segment * 3h);
      writeUtc(end, midnight + (segment + 1) * 3h);
      const Bytes start(section.begin() + static_cast<std::ptrdiff_t>(at) + 2,
                        section.begin() + static_cast<std::ptrdiff_t>(at) + 7);
      EXPECT_GE(start, earliest.get());
      EXPECT_LT(start, end.get());
      at += 12U + ((section[at + 10] & 0xFU) << 8 | section[at + 11]);
    }
  }
  EXPECT_EQ(events, schedule(_multiplex.services[0].programmes, now, now + 100h).size());
}

// A week of it is what a guide must cope with: pauses, and programmes that run a second into the next.
TEST(Programmes, AreTheSameWheneverTheBroadcastIsMade) {
  std::size_t pauses = 0;
  std::size_t overlaps = 0;
  for (const Multiplex& multiplex : sampleNetwork(true).multiplexes) {
    for (const Service& service : multiplex.services) {
      if (service.programmes.empty()) continue;
      const Moment monday = moment("2026-05-04T00:00:00Z");
      const std::vector<Event> week = schedule(service.programmes, monday, monday + 24h * 8);
      std::set<std::uint16_t> identifiers;
      for (std::size_t i = 0; i < week.size(); ++i) {
        EXPECT_TRUE(identifiers.insert(week[i].id).second) << service.caption;
        const Moment end = week[i].end();
        if (i + 1 < week.size()) {
          EXPECT_LE(end, week[i + 1].start + 1s) << service.caption;
          if (end < week[i + 1].start) ++pauses;
          if (end > week[i + 1].start) ++overlaps;
        }
        const Event again = schedule(service.programmes, end - 1s, end).front();
        EXPECT_EQ(again.id, week[i].id) << service.caption;
        EXPECT_EQ(again.start, week[i].start) << service.caption;
      }
    }
  }
  EXPECT_GT(pauses, 0U);
  EXPECT_GT(overlaps, 0U);
}

}  // namespace
}  // namespace broadcaster
