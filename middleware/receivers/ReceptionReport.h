#pragma once

#include <chrono>

#include "middleware/events/EventQueue.h"
#include "middleware/stream/Reception.h"

namespace durix {

/// Tells of a receiver while somebody keeps it on a frequency: that it has locked, once a second how well it receives,
/// and that the lock is lost. Every figure is measured: what a stream of bytes cannot tell (the ratio of signal to
/// noise, bit errors, frames of MPE) stays empty. Owned and used by whoever receives, on one thread.
class ReceptionReport {
 public:
  static constexpr std::chrono::seconds INTERVAL{1};

  /// The queue outlives this.
  ReceptionReport(EventQueue& events, const durix_scan_frequency& tuning) : _events(events), _tuning(tuning) {}

  /// There is a signal, which was received so from the beginning until now; to be told as often as one likes. Without a
  /// packet since the last statistics it is not locked.
  void tell(const Reception& sinceTuned);

  /// There is no signal (any more).
  void tellNoSignal();

 private:
  using Clock = std::chrono::steady_clock;

  bool isDue(Clock::time_point now);
  void post(const Reception* reception);

  EventQueue& _events;
  const durix_scan_frequency _tuning;
  bool _isLocked = false;
  Reception _told;         // what the statistics so far have covered
  Clock::time_point _due;  // of the next statistics; the first at once
};

}  // namespace durix
