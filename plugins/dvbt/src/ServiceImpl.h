#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "ProgramImpl.h"
#include "durix/durix.h"
#include "support/Lock.h"
#include "support/ThreadSafety.h"
#include "velmora/Service.h"

/// What a service asks of its plugin.
class ServiceHost {
 public:
  virtual std::string getDurixProperty(durix_property number) = 0;

 protected:
  ~ServiceHost() = default;
};

/// One channel, read from its middleware service: a service that nobody asks costs nothing. It owns its programmes,
/// sorted by start time and linked to their successors. The service list makes and deletes it; any thread may ask it.
/// The programme mutex comes after the service list's and the notifier's.
class ServiceImpl : public Service {
 public:
  /// `host` may be null; it then has no protocol type.
  ServiceImpl(durix_esg_object object, Plugin* plugin, ServiceHost* host = nullptr);
  ~ServiceImpl() override;

  bool hasResource(int type) override;
  Resource* getResource(int type) override;
  std::string getTitle() override;
  /// The stricter of the service's and the current programme's limit; owned by the service or the programme.
  ParentalRating* getParentalRating() override;
  bool isProtected() override;
  bool isPlayable() override;
  StreamType getStreamType() override;
  std::string getName() override;
  std::string getLogoUri() override;
  using Service::getPrograms;
  std::vector<Program*> getPrograms(bool all) override;  // sorted; all, or those that have not ended
  int getQuality() override;                             // the higher, the better
  int getOriginalNetwork() override;
  int getServiceId() override;  // always 0
  std::string getProtocolType() override;
  Program* getCurrentProgram() override;
  int getSourceID() override;

  int getChannelNumber();  // reads the number while the host has none above 0 for it
  void setQuality(int quality) { _quality = quality; }
  void setDataAvailable(bool available) { _newData = available; }
  bool isNewDataAvailable() const { return _newData; }

  /// Forgets name, number, quality and rating.
  void reset();

  durix_esg_object getData() const { return _object; }
  const durix_esg_object* getDataPtr() const { return &_object; }
  std::vector<durix_esg_object> getFeeds();  // empty when the middleware gives none
  std::string getUri();                      // of the first feed

  void addProgram(ProgramImpl* program);  // the service owns it from here on
  std::vector<Program*> getProgramList();
  std::vector<Program*> getCurrentPrograms();  // those that have not ended, in list order
  Program* getNextProgram();
  void update();  // sorts, and links each programme to its successor
  static bool containsProgram(const std::vector<Program*>& programs, durix_esg_object object);
  void flush();

 private:
  ParentalRating* ownRating() BC_REQUIRES(_programMutex);
  void sortPrograms() BC_REQUIRES(_programMutex);
  ProgramImpl* findCurrent() BC_REQUIRES(_programMutex);

  const durix_esg_object _object;
  ServiceHost* const _host;   // outlives this; may be null
  std::atomic<int> _quality;  // -1 until read
  std::atomic<bool> _newData = false;

  // guarded by the programme mutex, as is the host's rating pointer
  RankedMutex _programMutex{LockRank::Programmes};
  std::vector<ProgramImpl*> _programList BC_GUARDED_BY(_programMutex);  // owned
  bool _unsorted BC_GUARDED_BY(_programMutex) = true;
};
