#pragma once

#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "support/Lock.h"
#include "velmora/VmTimer.h"

class Program;
class ServiceImpl;

/// What a service waits for. Its address is the timeout's data.
struct ProgramChangedInfo {
  enum Phase { CURRENT_ENDS = 111, NEXT_STARTS = 999 };

  ServiceImpl* service;  // not owned
  Program* program;      // not owned; null when the service's guide has come to its end
  int phase;
};

/// Tells the host when the programme of a channel ends and the next one starts.
///
///   disarmed --update, programme on air--> CURRENT_ENDS --its end--> NEXT_STARTS --its start--> CURRENT_ENDS ...
///   disarmed --update, programmes to come--> NEXT_STARTS
///   NEXT_STARTS without a programme: parked until the next update
///
/// Called by the guide updater, by scan start and by its timer's thread. The host is told with no lock held; a record
/// that was replaced meanwhile is left alone. Replaced records stay in memory until no expiry can name them.
class ProgramChangedNotifier : public TimerListener {
 public:
  ProgramChangedNotifier();
  ProgramChangedNotifier(const ProgramChangedNotifier&) = delete;
  ProgramChangedNotifier& operator=(const ProgramChangedNotifier&) = delete;
  ~ProgramChangedNotifier() override;

  void timerExpired(VmTimer* timer, void* data) override;

  /// Arms the service anew and tells the host the programme on air.
  void update(ServiceImpl* service);
  /// Disarms the service.
  void removeTimer(ServiceImpl* service);
  /// Drops every timeout; the records stay.
  void clear();

 private:
  void expired(void* data);
  void currentEnded(ProgramChangedInfo* record, const ProgramChangedInfo& was);
  void nextStarted(ProgramChangedInfo* record, const ProgramChangedInfo& was);
  ProgramChangedInfo* remember(const ProgramChangedInfo& info) BC_REQUIRES(_mutex);
  void await(ProgramChangedInfo* record) BC_REQUIRES(_mutex);  // sets the timeout of its phase
  bool isLive(const void* record) const BC_REQUIRES(_mutex);

  VmTimer _timer;

  RankedMutex _mutex{LockRank::Notices};
  // guarded by _mutex
  std::unordered_map<const ServiceImpl*, std::unique_ptr<ProgramChangedInfo>> _records BC_GUARDED_BY(_mutex);
  std::unordered_set<const void*> _live BC_GUARDED_BY(_mutex);  // the records in _records
  std::vector<std::unique_ptr<ProgramChangedInfo>> _retired BC_GUARDED_BY(_mutex);
};
