#pragma once

#include <cstdint>
#include <functional>
#include <map>

#include "middleware/si/SectionAssembler.h"

namespace durix {

/// Picks the sections of chosen PIDs out of the packets. Whoever collects other tables (a guide: EIT on PID 0x12)
/// has a demux of its own or chooses more PIDs. Used by one thread.
class SectionDemux {
 public:
  /// Gets each whole section with its PID; may choose further PIDs.
  using Sink = std::function<void(std::uint16_t pid, const Section& section)>;

  explicit SectionDemux(Sink sink) : _sink(std::move(sink)) {}
  SectionDemux(const SectionDemux&) = delete;
  SectionDemux& operator=(const SectionDemux&) = delete;

  void select(std::uint16_t pid);
  bool isSelected(std::uint16_t pid) const { return _assemblers.contains(pid); }

  void feed(const PacketView& packet);

  /// Sections dropped for a wrong checksum, on all PIDs.
  std::uint64_t damagedSections() const;

 private:
  Sink _sink;
  std::map<std::uint16_t, SectionAssembler> _assemblers;  // by PID; a map, because a sink may add while one works
};

}  // namespace durix
