#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <span>
#include <utility>
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

  /// What a section claims from now on; how many of its events are too many for a service. `now` tells what is over, as
  /// below.
  std::size_t replace(const GuideOrigin& origin, std::vector<GuideEvent> events, std::int64_t now);

  /// A table has only these sections; they are as new as the last ones replaced.
  void keepSections(std::uint32_t multiplex, std::uint8_t table, const std::bitset<256>& sections, std::int64_t now);

  /// Tables behind `last` up to `end` are not sent (any more).
  void dropTables(std::uint32_t multiplex, unsigned last, unsigned end, std::int64_t now);

  /// The service is on this multiplex: what others claimed of it in this very table is old.
  void dropElsewhere(std::uint32_t multiplex, std::uint8_t table, std::int64_t now);

  /// Tables have been told anew since the line was kept. Until then what it knew of programmes that are still there
  /// (texts, ratings) stays: only what is on the line was kept, not all that made it so.
  void forgetKept() { _remembered.clear(); }

  /// Forgets what ended before a moment.
  void forget(std::int64_t before);

  /// How the line is to be and what makes the difference. Programmes that stay as they are keep their identifiers; any
  /// other is new and has none yet.
  struct Outcome {
    std::vector<std::shared_ptr<GuideEvent>> added;
    std::vector<GuideEventPtr> removed;
    std::vector<GuideEventPtr> events;  // by start, the added ones included
    std::vector<GuideEventPtr> lost;    // what is over and found no place
    bool hasChanged() const { return !added.empty() || !removed.empty(); }
  };
  Outcome settle() const;
  void accept(Outcome&& outcome);

 private:
  struct Claims {
    std::uint64_t age = 0;  // grows with what is told
    std::vector<GuideEventPtr> events;
  };
  using ClaimMap = std::map<GuideOrigin, Claims>;

  void retire(const Claims& claims, std::int64_t now);
  ClaimMap::iterator drop(ClaimMap::iterator claims, std::int64_t now);

  ClaimMap _claims;
  std::size_t _claimCount = 0;                                              // events in them
  std::map<std::pair<std::int64_t, std::uint16_t>, GuideEventPtr> _over{};  // claims by start and number
  std::vector<GuideEventPtr> _remembered;                                   // the line as it was kept
  std::vector<GuideEventPtr> _events;                                       // the line, by start
  std::uint64_t _age = 0;
};

}  // namespace durix
