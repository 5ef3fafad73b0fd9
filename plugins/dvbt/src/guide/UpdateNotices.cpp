#include "guide/UpdateNotices.h"

#include <string>
#include <utility>

#include "support/Clock.h"
#include "support/Log.h"
#include "support/Text.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/VmProperties.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

}  // namespace

UpdateNotices::UpdateNotices(BroadcastPlugin& plugin) : _plugin(plugin) {}

UpdateNotices::~UpdateNotices() {
  deleteTimer();
}

void UpdateNotices::reset() {
  const Lock lock(_updateDataMutex);
  _nextNotificationTime = -1;
}

void UpdateNotices::createTimer(TimerListener* listener) {
  deleteTimer();
  auto timer = std::make_unique<VmTimer>();
  timer->addTimerListener(listener);
  const Lock lock(_updateDataMutex);
  _notificationTimer = std::move(timer);
}

void UpdateNotices::clearTimer() {
  VmTimer* timer = nullptr;  // nobody deletes it meanwhile: scan start and close do not overlap
  {
    const Lock lock(_updateDataMutex);
    timer = _notificationTimer.get();
  }
  if (timer != nullptr) timer->clear();
}

void UpdateNotices::deleteTimer() {
  std::unique_ptr<VmTimer> timer;  // dies after the lock is released, since its end waits for a notice
  const Lock lock(_updateDataMutex);
  timer.swap(_notificationTimer);
}

bool UpdateNotices::owns(const VmTimer* timer) const {
  const Lock lock(_updateDataMutex);
  return timer != nullptr && timer == _notificationTimer.get();
}

void UpdateNotices::notifyProgramUpdate(Service* service, std::vector<Program*>* programs) {
  const Lock lock(_updateDataMutex);
  if (service == nullptr || programs == nullptr) return;
  if (_pending.count(service) != 0) return;  // the pending notice stands, also when it is an empty one
  VmProperties configuration = _plugin.getConfiguration();
  std::string interval;
  configuration.getProperty("notification_interval", interval);
  _nextNotificationTime = currentTime() + decimalValue(interval);
  _updateData.push_back({service, *programs});
  _pending.insert(service);
  if (_notificationTimer != nullptr) _notificationTimer->addTimeout(_nextNotificationTime, nullptr);
}

void UpdateNotices::timerExpired() {
  std::list<UpdateData> due;
  {
    const Lock lock(_updateDataMutex);
    BC_INFO(LOG, "BroadcastPluginImpl::_updateData(), _updateData.size() = %d ", static_cast<int>(_updateData.size()));
    if (_updateData.empty()) {
      BC_ERR(LOG, "BroadcastPluginImpl::timerExpired entered when _updateData.size()<1 !");
      return;
    }
    due.splice(due.begin(), _updateData, _updateData.begin());
    _pending.erase(due.front().service);
  }
  // The contract holds the mutex meanwhile; a listener that asks the plugin could then wait for a thread that queues.
  _plugin.sendNotifyProgramUpdate(&_plugin, due.front().service, &due.front().programs);
}

void UpdateNotices::deleteAll() {
  const Lock lock(_updateDataMutex);
  _updateData.clear();
  _pending.clear();
}
