#include "middleware/scan/ScanEvents.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "middleware/portability/Text.h"

namespace durix {
namespace {

void putNames(EventRecord& record, std::span<const std::string> names) {
  record.put(DURIX_OFFSET_DISCOVER_SERVICE_COUNT, static_cast<std::uint32_t>(names.size()));
  std::size_t offset = DURIX_OFFSET_DISCOVER_SERVICE_NAMES;
  for (const auto& name : names) {
    record.putText(offset, DURIX_DISCOVER_NAME_SIZE, cutAtCharacter(name, DURIX_DISCOVER_NAME_SIZE - 1));
    offset += DURIX_DISCOVER_NAME_SIZE;
  }
}

}  // namespace

EventRecord discoverProgress(std::uint32_t percent, std::int32_t frequency, bool isValid,
                             std::span<const std::string> names) {
  EventRecord record(DURIX_EVENT_DISCOVER_PROGRESS);
  record.put(DURIX_OFFSET_DISCOVER_PROGRESS, percent);
  record.put(DURIX_OFFSET_DISCOVER_FREQUENCY, frequency);
  record.put(DURIX_OFFSET_DISCOVER_VALID, static_cast<std::uint32_t>(isValid));
  putNames(record, names);
  return record;
}

EventRecord discoverFinished(std::span<const std::string> names) {
  EventRecord record(DURIX_EVENT_DISCOVER_FINISHED);
  putNames(record, names);
  return record;
}

EventRecord receiverStatistics(const durix_scan_frequency& tuning, const Reception* reception) {
  EventRecord record(DURIX_EVENT_RECEIVER_STATISTICS);
  record.put(DURIX_OFFSET_STATISTICS_FREQUENCY, tuning.frequency);
  record.put(DURIX_OFFSET_STATISTICS_BANDWIDTH, tuning.bandwidth);
  const bool hasSignal = reception != nullptr && reception->packets > 0;
  const double losses =
      hasSignal ? static_cast<double>(reception->continuityErrors) / static_cast<double>(reception->packets) : 1.0;
  const auto quality = static_cast<std::uint8_t>(100.0 * (1.0 - std::min(losses, 1.0)));
  record.put(DURIX_OFFSET_STATISTICS_SIGNAL_AVAILABLE, static_cast<std::uint32_t>(reception != nullptr));
  record.put(DURIX_OFFSET_STATISTICS_SIGNAL_LOCKED, static_cast<std::uint32_t>(hasSignal));
  record.put(DURIX_OFFSET_STATISTICS_SIGNAL_QUALITY, quality);
  record.put(DURIX_OFFSET_STATISTICS_SIGNAL_STRENGTH, static_cast<std::uint8_t>(reception != nullptr ? 100 : 0));
  // Of a recorded stream only losses of packets can be told; the other texts stay empty.
  if (hasSignal) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%.1e", losses);
    record.putText(DURIX_OFFSET_STATISTICS_PER, DURIX_STATISTICS_TEXT_SIZE, text.data());
  }
  return record.put(DURIX_OFFSET_STATISTICS_BATTERY_LEVEL, std::uint8_t{0});
}

}  // namespace durix
