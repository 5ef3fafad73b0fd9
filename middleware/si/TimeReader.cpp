#include <algorithm>
#include <array>

#include "middleware/si/DescriptorTags.h"
#include "middleware/si/Descriptors.h"
#include "middleware/si/TableReaders.h"

#include <dvbpsi/dr_58.h>

namespace durix {

namespace {
constexpr std::int64_t DAY_1970 = 40587;  // modified Julian day
constexpr std::int64_t SECONDS_A_DAY = 86400;

std::optional<int> bcd(std::uint8_t byte) {
  if (byte >> 4 > 9 || (byte & 0x0F) > 9) return std::nullopt;
  return (byte >> 4) * 10 + (byte & 0x0F);
}

std::int32_t offsetSeconds(std::uint16_t hoursMinutes, bool isWest) {
  const int hours = bcd(static_cast<std::uint8_t>(hoursMinutes >> 8)).value_or(0);
  const int minutes = bcd(static_cast<std::uint8_t>(hoursMinutes & 0xFF)).value_or(0);
  return (hours * 3600 + minutes * 60) * (isWest ? -1 : 1);
}

void readOffsets(const Descriptor& descriptor, std::vector<LocalTimeOffset>& offsets) {
  const Decoded content(descriptor, dvbpsi_DecodeLocalTimeOffsetDr);
  if (!content) return;
  for (std::size_t i = 0; i < content->i_local_time_offsets_number; ++i) {
    const auto& entry = content->p_local_time_offset[i];
    const bool isWest = entry.i_local_time_offset_polarity != 0;
    std::array<std::uint8_t, 5> change{};
    for (std::size_t k = 0; k < change.size(); ++k) {
      change[k] = static_cast<std::uint8_t>(entry.i_time_of_change >> (8 * (change.size() - 1 - k)));
    }
    offsets.push_back({.country = languageCode(entry.i_country_code),
                       .region = entry.i_country_region_id,
                       .offset = offsetSeconds(entry.i_local_time_offset, isWest),
                       .timeOfChange = readMoment(change).value_or(0),
                       .nextOffset = offsetSeconds(entry.i_next_time_offset, isWest)});
  }
}
}  // namespace

std::optional<std::int64_t> readMoment(std::span<const std::uint8_t, 5> bytes) {
  std::int64_t day = bytes[0] << 8 | bytes[1];
  if (day < DAY_1970) day += 0x10000;
  const auto hour = bcd(bytes[2]);
  const auto minute = bcd(bytes[3]);
  const auto second = bcd(bytes[4]);
  if (!hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 60) return std::nullopt;
  return (day - DAY_1970) * SECONDS_A_DAY + *hour * 3600 + *minute * 60 + *second;
}

std::optional<BroadcastTime> readTime(const Section& section) {
  constexpr std::size_t MOMENT_SIZE = 5;
  const auto body = section.body();
  if (body.size() < MOMENT_SIZE) return std::nullopt;
  const auto moment = readMoment(body.first<MOMENT_SIZE>());
  if (!moment) return std::nullopt;
  BroadcastTime time{.utc = *moment, .offsets = {}};
  if (section.tableId() != TOT_TABLE || body.size() < MOMENT_SIZE + 2) return time;
  const std::size_t length = (body[MOMENT_SIZE] & 0x0FU) << 8 | body[MOMENT_SIZE + 1];
  const auto loop = body.subspan(MOMENT_SIZE + 2);
  for (const auto& descriptor : readDescriptors(loop.first(std::min(length, loop.size())))) {
    if (descriptor.tag == LOCAL_TIME_OFFSET_DESCRIPTOR) readOffsets(descriptor, time.offsets);
  }
  return time;
}

}  // namespace durix
