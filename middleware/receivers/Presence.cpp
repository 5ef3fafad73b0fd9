#include "middleware/receivers/Presence.h"

namespace durix {

std::optional<Presence::Change> Presence::see(bool isThere, Time now) {
  if (isThere) {
    _missingSince.reset();
    if (_isAnnounced) return std::nullopt;
    _isAnnounced = true;
    return Change::Announced;
  }
  if (!_isAnnounced) return std::nullopt;
  if (!_missingSince) _missingSince = now;
  if (now - *_missingSince < PATIENCE) return std::nullopt;
  _isAnnounced = false;
  _missingSince.reset();
  return Change::Withdrawn;
}

}  // namespace durix
