#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "middleware/guide/GuideEvent.h"

namespace durix {

/// The one line of programmes of a service, made of what all tables claim of it.
///
/// A claim stands as long as its table makes it. Where claims meet, present/following ranks over the service's own
/// schedule, that over what other multiplexes tell; of one rank, what was told last. Claims of one event become one
/// programme, with the times of the highest and the best texts of all. What contradicts a higher claim gives way: cut
/// where most of it remains, else left out. Programmes never overlap. One that is over stays when its table drops it.
/// Used by one thread.
class Timeline {
 public:
  /// `stored` is the line as it was kept, by start.
  explicit Timeline(std::span<const GuideEventPtr> stored);

  /// What a section claims from now on. `now` tells what is over, as below.
  void replace(const GuideOrigin& origin, std::vector<GuideEvent> events, std::int64_t now);

  /// A table has only these sections; they are as new as the last ones replaced.
  void keepSections(std::uint32_t multiplex, std::uint8_t table, const std::bitset<256>& sections, std::int64_t now);

  /// Tables behind `last` up to `end` are not sent (any more).
  void dropTables(std::uint32_t multiplex, unsigned last, unsigned end, std::int64_t now);

  /// Forgets what ended before a moment.
  void forget(std::int64_t before);

  /// How the line is to be and what makes the difference. Programmes that stay as they are keep their identifiers; any
  /// other is new and has none yet.
  struct Outcome {
    std::vector<std::shared_ptr<GuideEvent>> added;
    std::vector<GuideEventPtr> removed;
    std::vector<GuideEventPtr> events;  // by start, the added ones included
    bool hasChanged() const { return !added.empty() || !removed.empty(); }
  };
  Outcome settle() const;
  void accept(const Outcome& outcome) { _events = outcome.events; }

 private:
  struct Claims {
    std::uint64_t age = 0;  // grows with what is told
    std::vector<GuideEventPtr> events;
  };
  using ClaimMap = std::map<GuideOrigin, Claims>;

  void retire(const Claims& claims, std::int64_t now);
  ClaimMap::iterator drop(ClaimMap::iterator claims, std::int64_t now);

  ClaimMap _claims;
  std::vector<GuideEventPtr> _events;  // the line, by start
  std::uint64_t _age = 0;
};

}  // namespace durix
