#include "middleware/receivers/StreamTime.h"

#include <algorithm>
#include <chrono>

#include "middleware/si/SectionDemux.h"
#include "middleware/si/TableReaders.h"
#include "middleware/stream/PacketReader.h"
#include "middleware/stream/StreamClock.h"

namespace durix {
namespace {

constexpr std::uint16_t EIT_PID = 0x12;
constexpr std::uint16_t TIME_PID = 0x14;
constexpr std::uint8_t EIT_PRESENT_ACTUAL = 0x4E;
constexpr std::uint8_t EIT_PRESENT_OTHER = 0x4F;
constexpr std::chrono::seconds LONGEST_WAIT(35);
constexpr std::uint64_t MOST_PACKETS = 1'000'000;  // for streams without clock references

// The start of the present event: the first event of section 0.
std::optional<std::int64_t> presentStart(const Section& section) {
  constexpr std::size_t EVENTS = 6;  // behind transport stream, network and last numbers
  constexpr std::size_t START = EVENTS + 2;
  constexpr std::size_t MOMENT_SIZE = 5;
  if (!section.isLong() || section.number() != 0 || section.body().size() < START + MOMENT_SIZE) return std::nullopt;
  return readMoment(section.body().subspan<START, MOMENT_SIZE>());
}

void take(StreamTime& time, std::uint16_t pid, const Section& section) {
  const auto table = section.tableId();
  if (pid == TIME_PID && (table == TDT_TABLE || table == TOT_TABLE) && !time.told) {
    if (const auto moment = readTime(section)) time.told = moment->utc;
  } else if (pid == EIT_PID && (table == EIT_PRESENT_ACTUAL || table == EIT_PRESENT_OTHER)) {
    time.addLater({.told = {}, .presentStart = presentStart(section)});
  }
}

}  // namespace

void StreamTime::addLater(const StreamTime& other) {
  if (!told) told = other.told;
  if (other.presentStart) presentStart = std::min(*other.presentStart, presentStart.value_or(*other.presentStart));
}

StreamTime readStreamTime(const std::filesystem::path& file) {
  StreamTime time;
  const auto reader = PacketReader::open(file);
  if (reader == nullptr) return time;
  SectionDemux demux([&](std::uint16_t pid, const Section& section) { take(time, pid, section); });
  demux.select(EIT_PID);
  demux.select(TIME_PID);
  StreamClock clock;
  while (!time.told && clock.elapsed() < LONGEST_WAIT && reader->statistics().packets < MOST_PACKETS) {
    const auto packet = reader->next();
    if (!packet) break;
    clock.feed(*packet);
    demux.feed(*packet);
  }
  return time;
}

}  // namespace durix
