#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <set>
#include <vector>

#include "middleware/reception/StreamTap.h"

namespace durix {

/// Takes the guide's packets out of multiplexes that are received for somebody else, and keeps them until the guide's
/// thread comes for them; what is too much is dropped, as if it had not been received. Any thread.
class GuideTap : public StreamTap {
 public:
  struct Piece {
    std::uint32_t multiplex = 0;
    std::uint64_t loop = 0;
    std::array<std::uint8_t, PACKET_SIZE> packet{};
  };

  void see(std::uint32_t multiplex, std::uint64_t loop, const PacketView& packet) override;

  /// What has come since the last call, in order.
  std::vector<Piece> drain();

  /// Nothing more is wanted of a multiplex, or all that comes again.
  void close(std::uint32_t multiplex);
  void open(std::uint32_t multiplex);

  std::set<std::uint32_t> closed() const;

 private:
  static constexpr std::size_t MOST_PIECES = 16384;  // some ten seconds of what a multiplex has

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::vector<Piece> _pieces;
  std::set<std::uint32_t> _closed;
};

}  // namespace durix
