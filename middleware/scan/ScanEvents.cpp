#include "middleware/scan/ScanEvents.h"

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

}  // namespace durix
