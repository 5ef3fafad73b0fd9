#pragma once

#include <memory>
#include <optional>

#include "middleware/stream/PacketReader.h"
#include "middleware/stream/Restamper.h"

namespace durix {

/// The packets of a source over and over again, as one stream that never ends. Used by one thread.
class LoopedStream {
 public:
  explicit LoopedStream(std::unique_ptr<ByteSource> source);

  /// The next packet, valid until the next call. Nothing when the source has none or cannot be read; it may be asked
  /// again later, and begins at its beginning then.
  std::optional<PacketView> next();

  /// The source that is read from its next beginning on, instead of the present one.
  void setNext(std::unique_ptr<ByteSource> source) { _next = std::move(source); }

  /// How often it has begun again.
  std::uint64_t loops() const { return _loops; }

  /// Dropped, since the beginning.
  std::uint64_t damagedPackets() const { return _damagedBefore + _reader->statistics().damagedPackets; }

 private:
  void begin();

  std::unique_ptr<PacketReader> _reader;
  std::unique_ptr<ByteSource> _next;  // null: the same again
  std::uint64_t _damagedBefore = 0;   // by sources before
  std::uint64_t _loops = 0;
  Restamper _restamper;
};

}  // namespace durix
