#pragma once

#include <cstdint>

#include "support/ThreadSafety.h"
#include "velmora/VmMutex.h"

/// The order in which a thread may take the plugin's locks, outermost first; docs/LOCKING.md says what each guards. Two
/// locks of one rank are never held together.
enum class LockRank : std::uint8_t {
  Discover,          // _discoverMutex
  ScanStart,         // the last steps of a scan start
  Recorder,          // BroadcastRecorder::_mutex
  Listener,          // the host's listener lock, in notifyPlayer only
  Services,          // _servicesMutex
  Reload,            // a reload of the channel list
  OrderFile,         // service_order.dat
  MainPlayer,        // the current main player
  Notices,           // _updateDataMutex, or the notifier's mutex
  FeedRegistration,  // what feeds-changed registrations are due
  Player,            // __listMutex, __playersMutex, or one player's lock
  Programmes,        // one service's programme mutex
  Parser,            // the locations parser
  GetString,         // getstring
  Leaf               // containers; nothing is called while one is held
};

/// Holds a mutex for a scope in its place in the order. In debug builds a lock taken out of order aborts with both
/// ranks; taking again what the thread holds already is legal. Used as it is for a mutex that the host made.
class RankedHold {
 public:
  RankedHold(VmMutex& mutex, LockRank rank);
  RankedHold(const RankedHold&) = delete;
  RankedHold& operator=(const RankedHold&) = delete;
  ~RankedHold();

 private:
  VmMutex& _mutex;
};

/// A recursive mutex of the plugin with its place in the order.
class BC_CAPABILITY("mutex") RankedMutex {
 public:
  explicit RankedMutex(LockRank rank) : _rank(rank) {}

 private:
  friend class Lock;
  VmMutex _mutex;
  const LockRank _rank;
};

/// Holds a ranked mutex for a scope.
class BC_SCOPED_CAPABILITY Lock {
 public:
  explicit Lock(RankedMutex& mutex) BC_ACQUIRE(mutex) : _held(mutex._mutex, mutex._rank) {}
  ~Lock() BC_RELEASE() = default;
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  RankedHold _held;
};
