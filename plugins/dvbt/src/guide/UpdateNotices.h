#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <unordered_set>
#include <vector>

#include "support/Lock.h"
#include "velmora/VmTimer.h"

class BroadcastPlugin;
class Program;
class Service;

/// Tells the host of new programmes: one notice a service, "notification_interval" seconds after it was queued, one
/// notice each time the timer is due. While a service's notice is pending, later ones of that service are dropped; the
/// host reads the service again on a notice.
/// Called by the guide updater, the event thread, host threads and the timer's thread.
class UpdateNotices {
 public:
  explicit UpdateNotices(BroadcastPlugin& plugin);
  ~UpdateNotices();

  /// `_nextNotificationTime` as before the first notice.
  void reset();

  void createTimer(TimerListener* listener);  // replaces a timer that is there
  void clearTimer();                          // waits for a notice that another thread is sending
  void deleteTimer();
  bool owns(const VmTimer* timer) const;

  void notifyProgramUpdate(Service* service, std::vector<Program*>* programs);

  /// Sends the oldest notice.
  void timerExpired();

  /// Drops every pending notice.
  void deleteAll();

 private:
  struct UpdateData {
    Service* service;  // not owned
    std::vector<Program*> programs;
  };

  BroadcastPlugin& _plugin;  // outlives this

  mutable RankedMutex _updateDataMutex{LockRank::Notices};
  // guarded by _updateDataMutex
  std::list<UpdateData> _updateData BC_GUARDED_BY(_updateDataMutex);            // oldest first
  std::unordered_set<const Service*> _pending BC_GUARDED_BY(_updateDataMutex);  // the services in _updateData
  std::int64_t _nextNotificationTime BC_GUARDED_BY(_updateDataMutex) = -1;      // seconds since the epoch
  std::unique_ptr<VmTimer> _notificationTimer BC_GUARDED_BY(_updateDataMutex);
};
