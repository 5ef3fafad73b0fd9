#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "middleware/si/Section.h"
#include "middleware/stream/PacketView.h"

namespace durix {

/// Puts the sections of one PID together. A section is handed out only when all its packets came in order and its
/// checksum is right; after a loss the next one begins where a packet says so, never in the middle. Repeated packets
/// and scrambled ones are passed over. Holds one section at most. Used by one thread.
class SectionAssembler {
 public:
  /// Gets each whole section; the bytes are valid during the call.
  using Sink = std::function<void(const Section&)>;

  explicit SectionAssembler(Sink sink);

  void feed(const PacketView& packet);

  std::uint64_t damagedSections() const { return _damagedSections; }

 private:
  bool isContinuous(const PacketView& packet);
  std::size_t append(std::span<const std::uint8_t> bytes);
  void begin(std::span<const std::uint8_t> bytes);
  void finish();

  Sink _sink;
  std::vector<std::uint8_t> _section;  // what has come of the section in progress; empty: none
  std::vector<std::uint8_t> _lastPayload;
  std::uint8_t _lastContinuity = 0;
  bool _hasLast = false;
  std::uint64_t _damagedSections = 0;
};

}  // namespace durix
