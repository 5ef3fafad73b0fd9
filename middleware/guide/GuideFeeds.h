#pragma once

#include <cstdint>
#include <map>
#include <mutex>

namespace durix {

/// Which multiplexes have their guide data open, and how often. Whoever collects guides looks here for what to receive.
/// Any thread.
class GuideFeeds {
 public:
  void open(std::uint32_t multiplex);

  /// False when it is not open.
  bool close(std::uint32_t multiplex);

 private:
  // guarded by _mutex, a leaf
  std::mutex _mutex;
  std::map<std::uint32_t, std::uint32_t> _counts;  // by multiplex, never 0
};

}  // namespace durix
