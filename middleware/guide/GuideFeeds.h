#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <stop_token>
#include <vector>

namespace durix {

/// Which multiplexes have their guide data open, and how often. Whoever collects guides looks here for what to receive.
/// Any thread.
class GuideFeeds {
 public:
  void open(std::uint32_t multiplex);

  /// False when it is not open.
  bool close(std::uint32_t multiplex);

  std::vector<std::uint32_t> multiplexes() const;  // that are open, in the order of their numbers
  bool isAnyOpen() const;

  /// Waits until feeds are opened or closed, a time is over, or a stop is asked for.
  void waitForChange(const std::stop_token& stop, std::chrono::milliseconds longest);

 private:
  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::condition_variable_any _changed;
  std::uint64_t _changes = 0;
  std::map<std::uint32_t, std::uint32_t> _counts;  // by multiplex, never 0
};

}  // namespace durix
