#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "middleware/si/Program.h"
#include "middleware/si/SectionAssembler.h"

namespace durix {

/// Follows one programme of a multiplex through its PAT and PMT (ISO/IEC 13818-1, 2.4.4). Used by one thread.
class ProgramWatch {
 public:
  /// Gets the programme when it is first seen, and whenever its PMT says something else.
  using Sink = std::function<void(const Program& program)>;

  ProgramWatch(std::uint16_t number, Sink sink);
  ProgramWatch(const ProgramWatch&) = delete;
  ProgramWatch& operator=(const ProgramWatch&) = delete;

  void feed(const PacketView& packet);

 private:
  void takePat(const Section& section);
  void takePmt(const Section& section);

  const std::uint16_t _number;
  const Sink _sink;
  SectionAssembler _pat;
  std::optional<std::uint16_t> _pmtPid;
  std::optional<SectionAssembler> _pmt;
  bool _isPmtMoved = false;         // the assembler is for another PID than the one to come
  std::vector<std::uint8_t> _last;  // the PMT section that was handed out
};

}  // namespace durix
