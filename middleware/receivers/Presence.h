#pragma once

#include <chrono>
#include <optional>

namespace durix {

/// Whether a receiver is announced. One that is there is announced at once; one that is gone is withdrawn only when it
/// stays away: a short drop is nobody's business. Used by one thread.
class Presence {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds PATIENCE{5};

  enum class Change : bool { Announced, Withdrawn };

  /// Takes what was seen at a moment; a change is to be told to the user.
  std::optional<Change> see(bool isThere, Time now);

 private:
  bool _isAnnounced = false;
  std::optional<Time> _missingSince;
};

}  // namespace durix
