#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <vector>

#include "middleware/si/Program.h"
#include "middleware/stream/PacketView.h"

namespace durix {

/// Makes a transport stream of one programme out of a multiplex: a PAT and a PMT of its own, in front and often
/// repeated, and the packets of chosen components, untouched but for their PID. Used by one thread.
class ProgramStream {
 public:
  /// Gets whole packets in their order.
  using Sink = std::function<void(PacketView::Bytes packet)>;

  /// A component that goes into the stream.
  struct Part {
    Component component;
    std::uint16_t outPid = 0;  // its PID there
  };

  /// What the stream holds from now on. The clock's PID keeps its number when it is no part's; it must be none of the
  /// parts' then.
  struct Contents {
    std::uint16_t number = 0;
    std::uint16_t pcrPid = NULL_PID;  // in the multiplex; none: NULL_PID
    std::uint16_t pmtPid = 0;         // in the stream that is made
    std::vector<std::uint8_t> descriptors{};
    std::vector<Part> parts{};
  };

  explicit ProgramStream(Sink sink) : _sink(std::move(sink)) {}
  ProgramStream(const ProgramStream&) = delete;
  ProgramStream& operator=(const ProgramStream&) = delete;

  /// The same contents again change nothing; others are announced by a new version of the PMT.
  void setContents(Contents contents);

  /// Any packet of the multiplex; nothing comes out before the first contents, nor of scrambled packets.
  void feed(const PacketView& packet);

 private:
  void announce();
  void write(std::uint16_t pid, std::span<const std::uint8_t> section, std::uint8_t& continuity);
  std::vector<std::uint8_t> patSection() const;
  std::vector<std::uint8_t> pmtSection() const;
  bool isTableDue(const PacketView& packet);

  const Sink _sink;
  Contents _contents;
  bool _hasContents = false;
  std::uint8_t _version = 31;                       // of the PMT; the first is 0
  std::map<std::uint16_t, std::uint16_t> _outPids;  // by PID in the multiplex
  std::uint8_t _patContinuity = 0;
  std::uint8_t _pmtContinuity = 0;
  std::uint64_t _lastPcr = 0;       // when the tables were sent last
  std::uint32_t _packetsSince = 0;  // since then
};

/// The whole programme as it was received: all its components, under their own PIDs.
ProgramStream::Contents contentsOf(const Program& program);

}  // namespace durix
