#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "middleware/guide/ServiceGuide.h"
#include "middleware/guide/Timeline.h"
#include "middleware/si/EventCarousel.h"
#include "middleware/store/Store.h"

namespace durix {

/// The programme guide: a time line for each service, kept in the store and answered from memory. A service's
/// programmes are loaded when somebody first asks for them. Owned by the instance.
class Guide {
 public:
  enum class Keeping : std::uint8_t { Day, Forever };  // of what is over

  /// The store outlives this.
  Guide(Store& store, Keeping keeping);
  Guide(const Guide&) = delete;
  Guide& operator=(const Guide&) = delete;

  // ---- For readers; any thread. ----

  /// Of a service of the store; never null. Throws Failure as the store does.
  std::shared_ptr<const ServiceGuide> of(std::uint32_t service);

  /// As above, for somebody who takes the list of programmes now.
  std::shared_ptr<const ServiceGuide> read(std::uint32_t service);

  /// In which language texts are read, where they have it.
  std::string language() const;
  void setLanguage(std::string language);

  /// How long nobody has read anything.
  std::chrono::steady_clock::duration quiet() const;

  /// Whether somebody has taken the list of this service since it changed last.
  bool isRead(std::uint32_t service) const;

  // ---- For who collects; one thread. ----

  /// Takes what a stream of a multiplex tells; `shift` makes viewers' time of the broadcast's, and `told` is the moment
  /// that the stream itself has reached, in viewers' time.
  struct Reception {
    std::uint32_t multiplex = 0;
    std::int64_t shift = 0;
    std::optional<std::int64_t> told{};
    bool isHome = true;  // the multiplex is the service's own
  };
  /// The latest end of what it took, in viewers' time; nothing when it took nothing.
  std::optional<std::int64_t> take(std::uint32_t service, EventTableUpdate&& update, const Reception& reception);

  /// Every multiplex has been received to its end in this run; `flush` makes known what that changes.
  void endRound();

  /// Makes durable and then visible what was taken since; whether anything has changed.
  bool flush();

  /// Forgets what is over for long enough, whoever's it is.
  void forgetOld();

  struct Counts {
    std::uint64_t events = 0;   // programmes that were taken
    std::uint64_t dropped = 0;  // of those told: without a sensible time
  };
  Counts counts() const;

 private:
  struct Slot {
    std::shared_ptr<const ServiceGuide> guide;
    bool isRead = false;
  };

  std::int64_t oldest() const;
  std::shared_ptr<const ServiceGuide> load(std::uint32_t service);
  Timeline& timeline(std::uint32_t service);

  // fixed after construction
  Store& _store;
  const Keeping _keeping;

  // the collector's own
  std::map<std::uint32_t, Timeline> _timelines;
  std::set<std::uint32_t> _changed;  // services whose line is to be settled
  std::set<std::uint32_t> _resumed;  // services whose line still knows what was kept
  std::uint32_t _lastId = 0;

  std::mutex _loading;  // one service is loaded at a time; the store is used under it

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::map<std::uint32_t, Slot> _slots;  // by service
  std::string _language;
  std::chrono::steady_clock::time_point _lastRead;
  Counts _counts;
};

}  // namespace durix
