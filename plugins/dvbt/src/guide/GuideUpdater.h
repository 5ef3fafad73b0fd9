#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "support/Lock.h"
#include "velmora/VmThread.h"

class BroadcastPlugin;
class GuideUpdater;
class Program;
class ProgramImpl;
class Service;
class ServiceImpl;
class ServiceList;
class VmRecommendationUpdater;

/// What the guide updater asks of the plugin. No lock is held in any of these calls.
class GuideUpdaterHost {
 public:
  virtual bool isClosing() = 0;
  virtual void notifyProgramUpdate(Service* service, std::vector<Program*>* programs) = 0;
  virtual void programsChanged(ServiceImpl* service) = 0;        // the programme change notifier's `update`
  virtual VmRecommendationUpdater* recommendationUpdater() = 0;  // null when there is none

 protected:
  ~GuideUpdaterHost() = default;
};

/// The thread that collects programme events, one pass for each start.
///
///   idle --start--> claimed --the body runs--> running --the pass is over--> idle
///
/// A start while claimed or running is dropped; one while the thread is ending lets it run once more.
class ProgramUpdater : public VmThread {
 public:
  ProgramUpdater(GuideUpdater& guide, GuideUpdaterHost& host) : _guide(guide), _host(host) {}
  ~ProgramUpdater() override;

  void run(void* argument) override;  // one pass
  virtual void setEnabled(bool enabled) { _enabled = enabled; }

  bool isEnabled() const { return _enabled; }
  bool isRunning() const { return _running; }
  void startPass();  // unless running or not enabled
  void stopAndWait();

 private:
  GuideUpdater& _guide;     // outlives this
  GuideUpdaterHost& _host;  // outlives this
  std::atomic<bool> _running = false;
  std::atomic<bool> _enabled = true;
  std::atomic<bool> _claimed = false;
};

/// The programme guide: collects the events of every service of the channel list and answers the host's questions.
/// Called by the updater's thread, host threads and the event thread.
class GuideUpdater {
 public:
  GuideUpdater(ServiceList& services, BroadcastPlugin& plugin, GuideUpdaterHost& host);
  ~GuideUpdater();

  /// Starts the updater's thread unless a pass runs or the updater is not enabled.
  void updateProgramList() { _programUpdater.startPass(); }
  void setEnabled(bool enabled) { _programUpdater.setEnabled(enabled); }
  bool isRunning() const { return _programUpdater.isRunning(); }
  /// Disables the updater and waits for a pass to end; never waits on the updater's own thread.
  void stopAndWait() { _programUpdater.stopAndWait(); }

  /// One pass over the channel list.
  void updatePrograms();
  /// One service: its events that are not known yet become programmes of the service.
  void updateProgramList(ServiceImpl* service);

  std::vector<Program*> getPrograms();  // by identifier
  Program* findProgram(int id) const;   // null when unknown; waits for nothing
  Program* getProgram(int id) const { return findProgram(id); }
  /// Programmes with one of the words in title or description, in any case, by start time.
  std::vector<Program*> search(std::vector<std::string> words);
  /// For each title the earliest programme of the next 24 hours that bears it, by start time.
  std::vector<Program*> getProgramsWithTitles(std::vector<std::string> titles);
  /// The placeholder texts for every programme of the channel list.
  void flush();

  /// Empties the index of programmes; the programmes are their services'.
  void clearPrograms();

 private:
  bool collectEvents(ServiceImpl* service, std::vector<Program*>* added);
  Program* addProgram(ServiceImpl* service, const durix_esg_object& event);
  void announce(ServiceImpl* service, std::vector<Program*>* added);

  // fixed after construction
  ServiceList& _services;  // outlives this, as the next two
  BroadcastPlugin& _plugin;
  GuideUpdaterHost& _host;

  mutable RankedMutex _programsMutex{LockRank::Leaf};
  std::map<int, ProgramImpl*> _programs BC_GUARDED_BY(_programsMutex);  // by content identifier; not owned

  ProgramUpdater _programUpdater;  // ends first
};
