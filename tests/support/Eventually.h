#pragma once

#include <chrono>
#include <thread>

namespace durix::test {

constexpr std::chrono::seconds LONGEST_WAIT(60);  // sanitizers are slow; nothing that works waits so long

/// Holds until `condition` or a bounded time is over.
template <typename Condition>
bool eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + LONGEST_WAIT;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace durix::test
