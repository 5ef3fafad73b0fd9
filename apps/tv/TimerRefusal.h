#pragma once

#include <cstdint>
#include <string>

class Service;

namespace tv {

struct Context;

/// What somebody wanted to be recorded, in seconds since the epoch.
struct TimerWish {
  Service* service = nullptr;  // null: not known any more
  std::int64_t start = 0;
  std::int64_t end = 0;
  unsigned timer = 0;  // that is to be changed; 0 for a new one
};

/// Why the recorder did not take a timer, in one line for people that says what to do.
std::string refusalOf(Context& context, const TimerWish& wish);

}  // namespace tv
