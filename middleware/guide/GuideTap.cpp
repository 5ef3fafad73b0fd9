#include "middleware/guide/GuideTap.h"

#include <algorithm>
#include <utility>

#include "middleware/guide/GuideReception.h"

namespace durix {

void GuideTap::see(std::uint32_t multiplex, std::uint64_t loop, const PacketView& packet) {
  if (!GuideReception::isWanted(packet)) return;
  Piece piece{.multiplex = multiplex, .loop = loop};
  std::ranges::copy(packet.bytes(), piece.packet.begin());
  const std::scoped_lock lock(_mutex);
  if (_pieces.size() < MOST_PIECES && !_closed.contains(multiplex)) _pieces.push_back(piece);
}

std::vector<GuideTap::Piece> GuideTap::drain() {
  std::vector<Piece> pieces;
  const std::scoped_lock lock(_mutex);
  _pieces.swap(pieces);
  return pieces;
}

void GuideTap::close(std::uint32_t multiplex) {
  const std::scoped_lock lock(_mutex);
  _closed.insert(multiplex);
}

void GuideTap::open(std::uint32_t multiplex) {
  const std::scoped_lock lock(_mutex);
  _closed.erase(multiplex);
}

std::set<std::uint32_t> GuideTap::closed() const {
  const std::scoped_lock lock(_mutex);
  return _closed;
}

}  // namespace durix
