#pragma once

#include <memory>

namespace host {

/// Something that waits for times. Its operations are called with no lock held.
class ClockWatcher {
 public:
  virtual ~ClockWatcher() = default;
  virtual void clockChanged() = 0;

  /// Returns when nothing is due; whether there was anything to wait for.
  virtual bool settle() = 0;
};

/// The watcher is told of every change of the clock for as long as it lives.
void watchClock(const std::shared_ptr<ClockWatcher>& watcher);

}  // namespace host
