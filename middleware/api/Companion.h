#pragma once

namespace durix {

/// A part of the middleware in another library (a player, the recorder) that works on the parts of an instance: it is
/// stopped before they are, when the instance ends.
class Companion {
 public:
  Companion() = default;
  Companion(const Companion&) = delete;
  Companion& operator=(const Companion&) = delete;
  virtual ~Companion() = default;

  /// Returns when none of its threads uses the instance any more. More than once is no failure.
  virtual void stop() noexcept = 0;
};

}  // namespace durix
