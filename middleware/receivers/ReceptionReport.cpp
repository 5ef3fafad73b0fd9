#include "middleware/receivers/ReceptionReport.h"

#include <array>
#include <cstdio>
#include <utility>

namespace durix {
namespace {

Reception difference(const Reception& now, const Reception& before) {
  return {.packets = now.packets - before.packets,
          .damagedPackets = now.damagedPackets - before.damagedPackets,
          .continuityErrors = now.continuityErrors - before.continuityErrors,
          .damagedSections = now.damagedSections - before.damagedSections};
}

}  // namespace

void ReceptionReport::tell(const Reception& sinceTuned) {
  if (!isDue(Clock::now())) return;
  const Reception part = difference(sinceTuned, _told);
  _told = sinceTuned;
  post(&part);
}

void ReceptionReport::tellNoSignal() {
  if (isDue(Clock::now()) || _isLocked) post(nullptr);
}

bool ReceptionReport::isDue(Clock::time_point now) {
  if (now < _due) return false;
  _due = now + INTERVAL;
  return true;
}

// Null for no signal.
void ReceptionReport::post(const Reception* reception) {
  const bool isLocked = reception != nullptr && reception->packets > 0;
  if (std::exchange(_isLocked, isLocked) != isLocked) {
    _events.post(EventRecord(isLocked ? DURIX_EVENT_RECEIVER_LOCK : DURIX_EVENT_RECEIVER_LOCK_LOST));
  }
  EventRecord record(DURIX_EVENT_RECEIVER_STATISTICS);
  record.put(DURIX_OFFSET_STATISTICS_FREQUENCY, _tuning.frequency);
  record.put(DURIX_OFFSET_STATISTICS_BANDWIDTH, _tuning.bandwidth);
  record.put(DURIX_OFFSET_STATISTICS_SIGNAL_AVAILABLE, static_cast<std::uint32_t>(reception != nullptr));
  record.put(DURIX_OFFSET_STATISTICS_SIGNAL_LOCKED, static_cast<std::uint32_t>(isLocked));
  // A stream of bytes is there or not: that is all its strength.
  record.put(DURIX_OFFSET_STATISTICS_SIGNAL_STRENGTH, static_cast<std::uint8_t>(reception != nullptr ? 100 : 0));
  record.put(DURIX_OFFSET_STATISTICS_BATTERY_LEVEL, std::uint8_t{0});
  if (isLocked) {
    const double lost = reception->lostShare();
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%.1e", lost);
    record.put(DURIX_OFFSET_STATISTICS_SIGNAL_QUALITY, static_cast<std::uint8_t>(100.0 * (1.0 - lost)));
    record.putText(DURIX_OFFSET_STATISTICS_PER, DURIX_STATISTICS_TEXT_SIZE, text.data());
  }
  _events.post(std::move(record));
}

}  // namespace durix
