#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "middleware/stream/ByteSource.h"
#include "middleware/stream/PacketView.h"

namespace durix {

/// Finds the packets in a stream of bytes: plain packets of 188 bytes, 204 with parity behind, 192 with a time stamp in
/// front. Locks where three sync bytes stand one packet apart (fewer only at the end), finds back after lost or
/// inserted bytes, passes over packets that say they are damaged. Memory is one buffer, whatever the stream; any bytes
/// are survived. Owned and used by one thread.
class PacketReader {
 public:
  struct Statistics {
    std::uint64_t packets = 0;         // handed out
    std::uint64_t damagedPackets = 0;  // dropped: error indicator set or sync byte destroyed
    std::uint64_t syncLosses = 0;
    std::uint64_t skippedBytes = 0;
  };

  explicit PacketReader(std::unique_ptr<ByteSource> source);

  /// A reader of a file; null when it cannot be opened.
  static std::unique_ptr<PacketReader> open(const std::filesystem::path& path);

  /// The next packet, valid until the next call; nothing at the end of the bytes.
  std::optional<PacketView> next();

  /// Goes back to the first byte; statistics go on. False where the source cannot.
  bool rewind();

  /// Whether the end was a failure to read.
  bool hasFailed() const { return _source->hasFailed(); }

  const Statistics& statistics() const { return _statistics; }

 private:
  bool fill(std::size_t size);
  bool search();
  bool confirms(std::size_t position, std::size_t period) const;
  void skip(std::size_t size);

  std::unique_ptr<ByteSource> _source;
  std::vector<std::uint8_t> _buffer;
  std::size_t _begin = 0;   // of what is still to be looked at
  std::size_t _end = 0;     // of what was read
  std::size_t _period = 0;  // bytes from one sync byte to the next; 0 while nothing is found
  bool _ended = false;
  Statistics _statistics;
};

}  // namespace durix
