// Sections out of packets, and the versions of a table.
#include <gtest/gtest.h>

#include <functional>

#include "StreamBuilder.h"

namespace durix::test {
namespace {

constexpr std::uint16_t PID = 0x30;

std::vector<int> extensionsIn(const Bytes& stream) {
  std::vector<int> extensions;
  SectionDemux demux([&](std::uint16_t, const Section& found) { extensions.push_back(found.extension()); });
  demux.select(PID);
  auto reader = readerOf(stream);
  while (const auto packet = reader.next()) demux.feed(*packet);
  return extensions;
}

Bytes sized(std::uint16_t extension, std::size_t size) {
  return section({.table = 0x42, .extension = extension}, Bytes(size, 0x42));
}

TEST(SectionAssembler, GivesWholeSectionsOnly) {
  StreamBuilder builder;
  // Packets 0 and 1: sections 1, 2 and 3, of which 2 begins in the first and ends in the second; 2 to 4: section 4;
  // 5: 5.
  builder.add(PID, {sized(1, 100), sized(2, 100), sized(3, 20)}).add(PID, {sized(4, 400)}).add(PID, {sized(5, 20)});
  const Bytes whole = builder.bytes();
  ASSERT_EQ(whole.size(), 6 * PACKET_SIZE);
  const auto at = [](std::size_t packet) { return static_cast<std::ptrdiff_t>(packet * PACKET_SIZE); };
  struct Row {
    const char* reason;
    std::function<void(Bytes&)> change;
    std::vector<int> found;
  };
  const std::vector<Row> rows = {
      {"whole", [](Bytes&) {}, {1, 2, 3, 4, 5}},
      {"a continuation lost", [&](Bytes& b) { b.erase(b.begin() + at(1), b.begin() + at(2)); }, {1, 4, 5}},
      {"the beginning lost: the middle is no section",
       [&](Bytes& b) { b.erase(b.begin() + at(2), b.begin() + at(3)); },
       {1, 2, 3, 5}},
      {"a packet repeated",
       [&](Bytes& b) {
         const Bytes p(b.begin() + at(3), b.begin() + at(4));
         b.insert(b.begin() + at(4), p.begin(), p.end());
       },
       {1, 2, 3, 4, 5}},
      {"a bit hit", [&](Bytes& b) { b[at(3) + 60] ^= 4; }, {1, 2, 3, 5}},
      {"a packet scrambled", [&](Bytes& b) { b[at(3) + 3] |= 0x80; }, {1, 2, 3, 5}},
      {"a pointer beyond the packet", [&](Bytes& b) { b[at(2) + 4] = 200; }, {1, 2, 3, 5}},
      {"an adaptation field beyond the packet",
       [&](Bytes& b) {
         b[at(3) + 3] |= 0x20;
         b[at(3) + 4] = 255;
       },
       {1, 2, 3, 5}},
      {"a new unit before the old one ended",
       [&](Bytes& b) {
         b[at(3) + 1] |= 0x40;
         b[at(3) + 4] = 0;
       },
       {1, 2, 3, 5}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    Bytes bytes = whole;
    row.change(bytes);
    EXPECT_EQ(extensionsIn(bytes), row.found);
  }
}

TEST(SubTable, KeepsTheNewestVersionAndWhatStandsInForIt) {
  struct Part {
    std::uint8_t version, number, last, mark;
    bool isCurrent = true;
  };
  struct Row {
    const char* reason;
    std::vector<Part> parts;
    std::vector<int> marks;
    bool isComplete;
  };
  const std::vector<Row> rows = {
      {"nothing", {}, {}, false},
      {"in any order", {{1, 1, 1, 11}, {1, 0, 1, 10}}, {10, 11}, true},
      {"not whole", {{1, 1, 2, 11}}, {11}, false},
      {"a new version, not whole", {{1, 0, 1, 10}, {1, 1, 1, 11}, {2, 0, 1, 20}}, {20, 11}, false},
      {"a new version, shorter", {{1, 0, 1, 10}, {1, 1, 1, 11}, {2, 0, 0, 20}}, {20}, true},
      {"the counter begins again", {{31, 0, 0, 10}, {0, 0, 0, 20}}, {20}, true},
      {"announced only", {{1, 0, 0, 10}, {2, 0, 0, 20, false}}, {10}, true},
      {"changed under the same version", {{1, 0, 0, 10}, {1, 0, 0, 20}}, {20}, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    SubTable table;
    for (const auto& part : row.parts) {
      const Bytes bytes = section({.table = 0x42,
                                   .extension = 1,
                                   .version = part.version,
                                   .number = part.number,
                                   .last = part.last,
                                   .isCurrent = part.isCurrent},
                                  {part.mark});
      table.add(Section(bytes));
      EXPECT_FALSE(table.add(Section(bytes))) << "the same again says nothing new";
    }
    std::vector<int> marks;
    for (const auto& kept : table.sections()) marks.push_back(kept.body()[0]);
    EXPECT_EQ(marks, row.marks);
    EXPECT_EQ(table.isComplete(), row.isComplete);
  }
}

}  // namespace
}  // namespace durix::test
