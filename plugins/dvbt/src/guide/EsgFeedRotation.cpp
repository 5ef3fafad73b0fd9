#include "guide/EsgFeedRotation.h"

#include <utility>

#include "support/Log.h"
#include "support/Text.h"
#include "tuning/ProviderRegistry.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

constexpr std::int64_t TURN = 30;  // seconds

void closeFeed(const std::optional<durix_esg_object>& feed) {
  if (feed) durix_feeds_close(&*feed, 1, 0);
}

}  // namespace

/// Where a rotation stands.
struct EsgFeedRotation::Position {
  std::uint64_t rotation;
  std::shared_ptr<const ServiceArray> services;
  std::uint32_t index;
  std::optional<std::int32_t> number;
};

EsgFeedRotation::EsgFeedRotation(ProviderRegistry& providers, EsgFeedHost& host) : _providers(providers), _host(host) {}

EsgFeedRotation::~EsgFeedRotation() {
  deleteTimer();
}

void EsgFeedRotation::createTimer(TimerListener* listener) {
  deleteTimer();
  auto timer = std::make_unique<VmTimer>();
  timer->addTimerListener(listener);
  const Lock lock(_feedMutex);
  _esgTimer = std::move(timer);
}

void EsgFeedRotation::deleteTimer() {
  std::unique_ptr<VmTimer> timer;  // dies after the lock is released, since its end waits for a turn
  const Lock lock(_feedMutex);
  timer.swap(_esgTimer);
}

bool EsgFeedRotation::owns(const VmTimer* timer) const {
  const Lock lock(_feedMutex);
  return timer != nullptr && timer == _esgTimer.get();
}

EsgFeedRotation::Position EsgFeedRotation::position() const {
  const Lock lock(_feedMutex);
  return {_rotation, _esgServices, _esgServiceIndex, _esgFeedNumber};
}

void EsgFeedRotation::openEsgDataFeeds() {
  BroadcastProvider* const provider = _providers.listed(_providers.active());
  if (provider == nullptr || _host.isRecordingsActive()) return;
  BC_INFO(LOG, "getting services for the provider = %s", textOrEmpty(provider->getProviderData()->name));
  const auto services = std::make_shared<ServiceArray>();
  if (durix_services_get(provider->getProviderData(), services->items(), services->count()) != DURIX_OK) {
    BC_INFO(LOG, "durix_services_get NOT Successful");
    return;
  }
  closeEsgDataFeeds();  // one rotation at a time
  std::uint64_t rotation = 0;
  {
    const Lock lock(_feedMutex);
    rotation = ++_rotation;
    _esgServices = services;
  }
  openNewDataFeed(rotation);
  initEsgTimer(rotation);
}

void EsgFeedRotation::closeEsgDataFeeds() {
  std::shared_ptr<const ServiceArray> services;
  std::optional<durix_esg_object> feed;
  VmTimer* timer = nullptr;
  {
    const Lock lock(_feedMutex);
    ++_rotation;
    // To wait for a turn under way, as the timer's `clear` does, could be a deadlock: it may wait for the recorder, in
    // whose notice the host may call this. It arms nothing more; what it has armed already goes here.
    if (!_turning) {
      timer = _esgTimer.get();
    } else if (_esgTimer != nullptr) {
      _esgTimer->removeTimeout(nullptr);
    }
    feed = std::exchange(_esgFeed, std::nullopt);
    services.swap(_esgServices);
    _esgServiceIndex = 0;  // the number of the feed opened last stays
  }
  if (timer != nullptr) timer->clear();
  closeFeed(feed);
}

void EsgFeedRotation::openNewDataFeed() {
  openNewDataFeed(position().rotation);
}

void EsgFeedRotation::openNewDataFeed(std::uint64_t rotation) {
  if (_host.isRecordingsActive()) return;  // asked before any lock: it takes the recorder's
  const Position from = position();
  if (from.rotation != rotation || from.services == nullptr) return;
  for (std::uint32_t i = from.index; i < from.services->size(); ++i) {
    EsgArray feeds;
    const durix_return_code code = durix_esg_object_feeds_get(&from.services->view()[i], feeds.items(), feeds.count());
    if (code != DURIX_OK || feeds.size() == 0) return;  // the next turn tries the same service again
    std::int32_t number = 0;
    durix_attribute_get_int(feeds.begin(), DURIX_ATTRIBUTE_CHANNEL_NUMBER, &number);
    if (number == from.number) continue;  // the multiplex that was collected last
    if (durix_feed_open(feeds.begin(), 0) == DURIX_OK) return keep(*feeds.begin(), number, i, rotation);
  }
  rewind(rotation);
}

/// Notes an open feed, or closes it when its rotation is over. A feed that is still noted is closed.
void EsgFeedRotation::keep(const durix_esg_object& feed, std::int32_t number, std::uint32_t service,
                           std::uint64_t rotation) {
  std::optional<durix_esg_object> superfluous = feed;
  {
    const Lock lock(_feedMutex);
    if (rotation == _rotation) {
      superfluous = std::exchange(_esgFeed, feed);
      _esgFeedNumber = number;
      _esgServiceIndex = service;
    }
  }
  closeFeed(superfluous);
}

void EsgFeedRotation::rewind(std::uint64_t rotation) {
  const Lock lock(_feedMutex);
  if (rotation == _rotation) _esgServiceIndex = 0;
}

void EsgFeedRotation::initEsgTimer() {
  initEsgTimer(position().rotation);
}

void EsgFeedRotation::initEsgTimer(std::uint64_t rotation) {
  if (_host.isRecordingsActive()) return;
  std::int64_t now = 0;
  ostiv_time_get_system_time(&now);
  // Armed under the lock, so that a rotation that has ended never leaves a timeout behind.
  const Lock lock(_feedMutex);
  if (rotation == _rotation && _esgTimer != nullptr) _esgTimer->addTimeout(now + TURN, nullptr);
}

void EsgFeedRotation::esgDataTimerExpired() {
  std::uint64_t rotation = 0;
  std::optional<durix_esg_object> feed;
  {
    const Lock lock(_feedMutex);
    if (_esgServices == nullptr) return;  // closed meanwhile
    _turning = true;
    rotation = _rotation;
    feed = std::exchange(_esgFeed, std::nullopt);
  }
  closeFeed(feed);
  openNewDataFeed(rotation);
  initEsgTimer(rotation);
  const Lock lock(_feedMutex);
  _turning = false;
}

void EsgFeedRotation::closeCurrentDataFeed() {
  std::optional<durix_esg_object> feed;
  {
    const Lock lock(_feedMutex);
    feed = std::exchange(_esgFeed, std::nullopt);
  }
  closeFeed(feed);
}
