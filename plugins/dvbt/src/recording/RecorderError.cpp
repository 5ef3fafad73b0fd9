#include "recording/RecorderError.h"

#include <utility>

void RecorderError::set(const char* key) {
  const Lock lock(_errorMutex);
  _lastError = key;
}

void RecorderError::set(durix_return_code code) {
  switch (code) {
    case DURIX_INSUFFICIENT_DISK_SPACE:
      return set(ERROR_INSUFFICIENT_DISK_SPACE);
    case DURIX_CONFLICTING_TIMER:
      return set(ERROR_TIMER_CONFLICT);
    case DURIX_INVALID_TIME:
      return set(ERROR_INVALID_RECORD_TIME);
    default:
      return set(ERROR_INIT);
  }
}

std::string RecorderError::take() {
  const Lock lock(_errorMutex);
  return std::exchange(_lastError, " ");  // a space, not an empty text
}
