#pragma once

#include <string>

#include "durix/durix.h"
#include "support/Lock.h"
#include "support/ThreadSafety.h"

// Message keys that the host translates.
inline constexpr const char* ERROR_INSUFFICIENT_DISK_SPACE = "recorder.error.insufficientdiskspace";
inline constexpr const char* ERROR_TIMER_CONFLICT = "recorder.error.conflictingtimer";
inline constexpr const char* ERROR_INIT = "recorder.error.init";
inline constexpr const char* ERROR_INTERNAL = "recorder.error.internal";
inline constexpr const char* ERROR_INVALID_RECORD_TIME = "recorder.error.invalidtime";

/// Why the recorder's last refusal was one. Any thread may call.
class RecorderError {
 public:
  void set(const char* key);
  void set(durix_return_code code);
  /// The key, once; a space from then on, until the next refusal.
  std::string take();

 private:
  RankedMutex _errorMutex{LockRank::Leaf};
  std::string _lastError BC_GUARDED_BY(_errorMutex);
};
