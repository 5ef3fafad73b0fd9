#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "middleware/si/ProgramStream.h"

namespace durix {

/// Lets the components of a recording keep their PIDs in it when the broadcaster gives them others, so that whoever
/// plays it goes on with the picture and the sound that he has. Used by one thread.
class KeptPids {
 public:
  /// What a recording that goes on holds already.
  void begin(std::span<const Component> components);

  /// The contents with the PIDs that they have in the recording: a component that goes on under another PID has the one
  /// that it had, everything else its own, unless that is taken.
  ProgramStream::Contents place(ProgramStream::Contents contents);

  /// PIDs of the recording that the last contents fill from elsewhere than those before.
  const std::vector<std::uint16_t>& moved() const { return _moved; }

 private:
  void keep(const ProgramStream::Part& part);

  std::vector<ProgramStream::Part> _known;  // all that ever were, by their PID in the recording
  std::vector<std::uint16_t> _moved;
  std::uint16_t _tablePid = NULL_PID;  // of the first contents; none yet: NULL_PID
};

}  // namespace durix
