#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace durix {

/// What a stream tells of the moment it was on air; UTC seconds since the epoch.
struct StreamTime {
  std::optional<std::int64_t> told;          // by its first TDT or TOT (EN 300 468, 5.2.5 and 5.2.6)
  std::optional<std::int64_t> presentStart;  // the earliest start of a present event (5.2.4), when it tells no time

  /// What a stream that comes behind tells: its time counts only when there is none yet.
  void addLater(const StreamTime& other);

  /// The time that is told, else the event's.
  std::optional<std::int64_t> best() const { return told ? told : presentStart; }
};

/// Reads until the time is told, which is due every 30 seconds (ETSI TS 101 211, 4.4), or must be given up. A file that
/// cannot be read tells nothing.
StreamTime readStreamTime(const std::filesystem::path& file);

}  // namespace durix
