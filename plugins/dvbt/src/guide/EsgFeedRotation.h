#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "durix/durix.h"
#include "support/Lock.h"
#include "support/MwMemory.h"
#include "velmora/VmTimer.h"

class ProviderRegistry;

/// What the rotation asks of the plugin.
class EsgFeedHost {
 public:
  virtual bool isRecordingsActive() = 0;  // false without a recorder; takes the recorder's lock

 protected:
  ~EsgFeedHost() = default;
};

/// Opens the guide data feeds of the active provider's services in turn, one for 30 seconds each, so that the guide of
/// every multiplex is collected. It pauses while a recording runs and goes on with the next `openEsgDataFeeds`.
/// Called by host threads, player creation and the timer's thread. What is opened or armed by a rotation that has been
/// closed meanwhile is taken back: each rotation has a number, and only the current one changes the members.
class EsgFeedRotation {
 public:
  EsgFeedRotation(ProviderRegistry& providers, EsgFeedHost& host);
  ~EsgFeedRotation();

  void createTimer(TimerListener* listener);  // replaces a timer that is there
  void deleteTimer();
  bool owns(const VmTimer* timer) const;

  void openEsgDataFeeds();
  void closeEsgDataFeeds();
  void openNewDataFeed();       // the next feed from the current service on
  void initEsgTimer();          // the next turn in 30 seconds
  void esgDataTimerExpired();   // one turn
  void closeCurrentDataFeed();  // frees its receiver; the next turn opens the next feed

 private:
  struct Position;
  Position position() const;
  void openNewDataFeed(std::uint64_t rotation);
  void keep(const durix_esg_object& feed, std::int32_t number, std::uint32_t service, std::uint64_t rotation);
  void rewind(std::uint64_t rotation);
  void initEsgTimer(std::uint64_t rotation);

  // fixed after construction
  ProviderRegistry& _providers;  // outlives this
  EsgFeedHost& _host;            // outlives this

  // guarded by _feedMutex, a leaf; only the timer, whose own lock calls nothing, is armed under it
  mutable RankedMutex _feedMutex{LockRank::Leaf};
  std::unique_ptr<VmTimer> _esgTimer BC_GUARDED_BY(_feedMutex);
  std::shared_ptr<const ServiceArray> _esgServices BC_GUARDED_BY(_feedMutex);  // null while closed
  std::uint32_t _esgServiceIndex BC_GUARDED_BY(_feedMutex) = 0;                // whose feed was opened last
  std::optional<durix_esg_object> _esgFeed BC_GUARDED_BY(_feedMutex);          // the open feed, a copy
  std::optional<std::int32_t> _esgFeedNumber BC_GUARDED_BY(_feedMutex);  // of the feed opened last; none carries "none"
  std::uint64_t _rotation BC_GUARDED_BY(_feedMutex) = 0;
  bool _turning BC_GUARDED_BY(_feedMutex) = false;  // a turn is under way
};
