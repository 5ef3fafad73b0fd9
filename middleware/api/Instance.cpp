#include "middleware/api/Instance.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/portability/Clock.h"
#include "middleware/portability/Files.h"
#include "middleware/portability/HandleTable.h"
#include "middleware/portability/Log.h"
#include "middleware/receivers/StreamTime.h"

namespace durix {
namespace {

// Life of the one instance: none -> starting -> running -> stopping -> none. Handles live in the table while it runs.
struct Life {
  HandleTable<durix_handle, Instance> handles;

  // guarded by mutex, a leaf
  std::mutex mutex;
  bool isTaken = false;  // from starting to stopping
  std::shared_ptr<Instance> running;
  std::string startFailure;
};

// Never destroyed: a call may come while the process ends.
Life& life() {
  static auto* const instance = new Life;
  return *instance;
}

// Takes the one place, and gives it back unless it is kept.
class Place {
 public:
  Place() {
    const std::scoped_lock lock(life().mutex);
    if (std::exchange(life().isTaken, true)) throw Failure(Code::Busy, "the middleware is running already");
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;
  ~Place() {
    if (_isKept) return;
    const std::scoped_lock lock(life().mutex);
    life().isTaken = false;
  }
  void keep() { _isKept = true; }

 private:
  bool _isKept = false;
};

std::vector<ReceiverSettings> chosenReceivers(Store& store) {
  // The process sets its environment before it starts the middleware.
  const char* const given = std::getenv("DURIX_RECEIVERS");
  if (given != nullptr && *given != '\0') return parseReceivers(given);
  if (const auto selected = store.selection()) {
    return {parseSelection(selected->type, selected->source, selected->options)};
  }
  return {};
}

// The clock of the platform, before anything can have read it.
void startClock(const std::vector<std::unique_ptr<Broadcast>>& broadcasts) {
  clock::reset();
  StreamTime first;
  for (const auto& broadcast : broadcasts) {
    if (broadcast->settings().time == TimeMode::Stream && !first.told) first.addLater(broadcast->firstTime());
  }
  if (const auto time = first.best()) clock::set(*time);
}

std::optional<std::int64_t> firstMomentOf(const std::filesystem::path& file) {
  return readStreamTime(file).best();
}

// What is over in a recorded stream with its own times is as new as the rest of it.
Guide::Keeping keepingOf(const ReceiverPool& receivers) {
  const auto hasOwnTime = [](const auto& broadcast) { return broadcast->settings().time == TimeMode::Stream; };
  const auto& all = receivers.broadcasts();
  return std::any_of(all.begin(), all.end(), hasOwnTime) ? Guide::Keeping::Forever : Guide::Keeping::Day;
}

EventRecord receiverEvent(const Broadcast& broadcast, Presence::Change change) {
  const ReceiverType type = broadcast.settings().type;
  EventRecord record(change == Presence::Change::Announced ? DURIX_EVENT_RECEIVER_ON : DURIX_EVENT_RECEIVER_OFF);
  record.put(DURIX_OFFSET_RECEIVER_ON_PROTOCOL, static_cast<std::uint32_t>(protocolOf(type)));
  record.put(DURIX_OFFSET_RECEIVER_ON_TYPE, static_cast<std::uint32_t>(type));
  return record;
}

}  // namespace

durix_handle* Instance::start(const std::filesystem::path& dataDirectory,
                              std::span<const durix_callback_entry> callbacks) {
  Place place;
  setLogFile(dataDirectory / "tv.log");
  const std::shared_ptr<Instance> instance(new Instance(dataDirectory));
  for (const auto& entry : callbacks) {
    instance->events().add(entry.event, entry.handler, nullptr, EventQueue::Scope::Instance);
  }
  instance->startReceivers();
  setDataDirectory(dataDirectory);
  removeAbandonedFiles(dataDirectory);
  const std::scoped_lock lock(life().mutex);
  life().running = instance;
  place.keep();
  return life().handles.add(instance);
}

std::shared_ptr<Instance> Instance::find(const durix_handle* handle) {
  auto instance = life().handles.find(handle);
  if (instance == nullptr) throw Failure(Code::NoInstance);
  return instance;
}

std::shared_ptr<Instance> Instance::current() {
  const std::scoped_lock lock(life().mutex);
  if (life().running == nullptr) throw Failure(Code::NoInstance);
  return life().running;
}

void Instance::stop(const durix_handle* handle) {
  const auto instance = life().handles.remove(handle);
  if (instance == nullptr) throw Failure(Code::NoInstance);
  {
    const std::scoped_lock lock(life().mutex);
    life().running.reset();
  }
  instance->shutDown();
  const std::scoped_lock lock(life().mutex);
  life().isTaken = false;
}

std::string Instance::startFailure() {
  const std::scoped_lock lock(life().mutex);
  return life().startFailure;
}

void Instance::setStartFailure(const std::string& text) {
  const std::scoped_lock lock(life().mutex);
  life().startFailure = text;
}

Instance::Instance(const std::filesystem::path& dataDirectory)
    : _store(dataDirectory), _recordings(_store), _timeShifts(_store, firstMomentOf), _events(EventQueue::create()) {}

void Instance::startReceivers() {
  std::vector<std::unique_ptr<Broadcast>> broadcasts;
  for (auto& settings : chosenReceivers(_store)) {
    broadcasts.push_back(std::make_unique<DirectoryBroadcast>(std::move(settings)));
  }
  startClock(broadcasts);
  const auto notice = [events = _events](const Broadcast& broadcast, Presence::Change change) {
    events->post(receiverEvent(broadcast, change));
  };
  _receivers = std::make_unique<ReceiverPool>(std::move(broadcasts), notice);
  _tuners = std::make_unique<Tuners>(*_events, *_receivers, &_guideTap);
  _scan = std::make_unique<ChannelScan>(ChannelScan::Parts{*_events, *_receivers, *_tuners, _store, _timeShifts});
  _guide = std::make_unique<Guide>(_store, keepingOf(*_receivers));
  _guideCollector = std::make_unique<GuideCollector>(
      GuideCollector::Parts{*_events, *_receivers, *_tuners, _store, _timeShifts, *_guide, _guideFeeds, _guideTap});
}

Instance::~Instance() {
  shutDown();  // for one that did not get through its start
}

void Instance::add(const std::shared_ptr<Companion>& companion) {
  const std::scoped_lock lock(_companionsMutex);
  if (_isStopping) throw Failure(Code::NoInstance);
  std::erase_if(_companions, [](const auto& known) { return known.expired(); });
  _companions.push_back(companion);
}

void Instance::stopCompanions() {
  std::vector<std::weak_ptr<Companion>> companions;
  {
    const std::scoped_lock lock(_companionsMutex);
    _isStopping = true;
    companions.swap(_companions);
  }
  for (const auto& companion : companions) {
    if (const auto alive = companion.lock()) alive->stop();
  }
}

// In the order of who produces for whom.
void Instance::shutDown() {
  stopCompanions();
  if (_guideCollector != nullptr) _guideCollector->stop();
  if (_scan != nullptr) _scan->stop();
  if (_tuners != nullptr) _tuners->stop();
  if (_receivers != nullptr) _receivers->stop();
  _events->stop();
  _store.close();
}

}  // namespace durix
