#include "PluginWiring.h"

#include "BroadcastPluginImpl.h"

durix_handle* PluginWiring::durixHandle() {
  return _plugin._durixHandle;
}
PluginState PluginWiring::getState() {
  return _plugin.getState();
}
BroadcastProtocolType PluginWiring::receiverProtocolType() {
  return _plugin._events.receiverProtocolType();
}
ReceiverType PluginWiring::receiverType() {
  return _plugin._events.receiverType();
}
void PluginWiring::setUpdaterEnabled(bool enabled) {
  _plugin._guide.setEnabled(enabled);
}

bool PluginWiring::isRecordingsActive() {
  BroadcastRecorder* const recorder = _plugin._recorder;
  return recorder != nullptr && recorder->isRecordingsActive();
}

void PluginWiring::notifyProgramUpdate(Service* service, std::vector<Program*>* programs) {
  _plugin.notifyProgramUpdate(&_plugin, service, programs);
}

std::string PluginWiring::getDurixProperty(durix_property number) {
  return _plugin.getDurixProperty(number);
}

void PluginWiring::flush() {
  _plugin.flush();
}

BroadcastProvider* PluginWiring::activeInProviders() {
  return _plugin._providers.activeInProviders();
}
bool PluginWiring::hasProviders() {
  return !_plugin._providers.providers().empty();
}
int PluginWiring::receiverCount() {
  return _plugin._events.receiverCount();
}

bool PluginWiring::isClosing() {
  return _plugin.isClosing();
}
void PluginWiring::programsChanged(ServiceImpl* service) {
  _plugin._programChangedNotifier->update(service);
}
VmRecommendationUpdater* PluginWiring::recommendationUpdater() {
  return _plugin._recommendationUpdater;
}

void PluginWiring::setState(PluginState state) {
  _plugin.setState(state);
}

std::string PluginWiring::locationOptionValue() {
  const Option* const option = _plugin._settings.locationOption();
  return option == nullptr ? std::string() : option->getStringValue();
}

bool PluginWiring::discover(const durix_scan_configuration* configuration, BroadcastProtocolType protocol,
                            ReceiverType receiver, bool flag) {
  return _plugin.discover(configuration, protocol, receiver, flag);
}

void PluginWiring::deactivateRecorder() {
  if (BroadcastRecorder* const recorder = _plugin._recorder) recorder->deactivate();
}

void PluginWiring::joinUpdater() {
  _plugin._guide.stopAndWait();
}
void PluginWiring::clearNotificationTimer() {
  _plugin._notices.clearTimer();
}
void PluginWiring::dropUpdateNotices() {
  _plugin._notices.deleteAll();
}
void PluginWiring::clearNotifier() {
  if (_plugin._programChangedNotifier != nullptr) _plugin._programChangedNotifier->clear();
}

void PluginWiring::stopRecommendations() {
  if (VmRecommendationUpdater* const updater = _plugin._recommendationUpdater) updater->Stop();
}

void PluginWiring::deleteAll() {
  _plugin.deleteAll();
}
void PluginWiring::removeReminders() {
  Velmora::getInstance()->removeReminders(&_plugin);
}

bool PluginWiring::hasRecorder() {
  return _plugin._recorder != nullptr;
}
void PluginWiring::setDurixProperty(const std::string& name, const std::string& value) {
  _plugin.setDurixProperty(name, value);
}
void PluginWiring::selectLocation(BCLocation* location) {
  _plugin._scan.setCurrentScanConfiguration(location);
}
void PluginWiring::enableSubtitles(bool enabled) {
  PlayerFactory::enableSubtitles(enabled);
}
void PluginWiring::changeAudioLanguage(const std::string& language) {
  PlayerFactory::changeAudioLanguage(language);
}

Service* PluginWiring::getService(const std::string& name, unsigned network) {
  return _plugin.getService(name, network);
}

std::vector<Service*> PluginWiring::activeSchedulingsServices() {
  BroadcastRecorder* const recorder = _plugin._recorder;
  return recorder == nullptr ? std::vector<Service*>() : recorder->getActiveSchedulingsServices();
}
void PluginWiring::closeCurrentDataFeed() {
  _plugin.closeCurrentDataFeed();
}
bool PluginWiring::isSubtitlesEnabled() {
  return _plugin.isSubtitlesEnabled();
}

BroadcastPlugin& PluginWiring::plugin() {
  return _plugin;
}
void PluginWiring::initializeRecorder() {
  _plugin.initializeRecorder();
}

bool PluginWiring::startRecommendations() {
  VmRecommendationUpdater* const updater = _plugin._recommendationUpdater;
  return updater != nullptr && updater->Start();
}

void PluginWiring::clearRecommendations() {
  if (VmRecommendationUpdater* const updater = _plugin._recommendationUpdater) {
    updater->updateContentRecommendations({}, nullptr);
  }
}

void PluginWiring::notifyPlayer(bool isStarted, bool hasError) {
  _plugin.notifyPlayer(&_plugin, isStarted, hasError);
}
