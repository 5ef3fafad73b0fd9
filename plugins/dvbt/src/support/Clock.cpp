#include "support/Clock.h"

#include "velmora/Velmora.h"

std::int64_t currentTime() {
  return Velmora::getInstance()->getTimeI(true);
}
