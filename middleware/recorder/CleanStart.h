#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "middleware/si/ProgramStream.h"
#include "middleware/stream/PacketView.h"
#include "middleware/stream/StreamClock.h"

namespace durix {

/// Lets a stream begin where a decoder can: with a key frame of its video, and each other component with the start of a
/// unit. What waits too long for a key frame begins without. Used by one thread.
class CleanStart {
 public:
  /// What the stream holds from now on; new components have their own start.
  void setContents(const ProgramStream::Contents& contents);

  /// From here on everything starts anew, or one PID with the next contents.
  void restart();
  void restart(std::uint16_t pid);

  /// Whether a packet of the stream belongs into it.
  bool lets(const PacketView& packet);

 private:
  struct Part {
    StreamKind kind = StreamKind::Data;
    bool isOpen = false;
  };
  Part* partOf(std::uint16_t pid);

  std::vector<std::pair<std::uint16_t, Part>> _parts;  // by PID in the stream
  std::uint16_t _tablePid = NULL_PID;
  std::optional<std::uint16_t> _video;  // that everything waits for
  std::uint32_t _waited = 0;            // packets, as long as it is waited for; as the next
  StreamClock _clock;
};

/// Whether a picture that can be decoded without others begins in this packet, as far as it shows.
bool beginsKeyFrame(const PacketView& packet, StreamKind kind);

}  // namespace durix
