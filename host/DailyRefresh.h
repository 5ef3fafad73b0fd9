#pragma once

#include <cstdint>
#include <functional>

#include "velmora/VmTimer.h"

namespace host {

/// Calls what is to be done once at each local midnight, on the thread of a timer of its own, for as long as this
/// lives. When the clock jumps to another day that counts as a midnight too, within an hour; a jump within a day does
/// not.
class DailyRefresh : public TimerListener {
 public:
  explicit DailyRefresh(std::function<void()> refresh);
  DailyRefresh(const DailyRefresh&) = delete;
  DailyRefresh& operator=(const DailyRefresh&) = delete;
  ~DailyRefresh() override;  // returns when no call is going on

  void timerExpired(VmTimer* timer, void* data) override;

 private:
  void arm(std::int64_t now);

  const std::function<void()> _refresh;
  std::int64_t _day = 0;  // the timer's thread's, after construction
  VmTimer _timer;
};

}  // namespace host
