// What the façade hands on: an operation of the plugin is one line here and done by its component.
#include "BroadcastPluginImpl.h"

#include "guide/EsgAttributes.h"
#include "support/Text.h"

void BroadcastPluginImpl::setDurixProperty(const std::string& name, const std::string& value) {
  _properties.setDurixProperty(name, value);
}
std::string BroadcastPluginImpl::getDurixProperty(durix_property number) {
  return _properties.getDurixProperty(number);
}
void BroadcastPluginImpl::setRecordingsPath(const char* path) {
  _properties.setRecordingsPath(path);
}

bool BroadcastPluginImpl::fetchProviders() {
  return _providers.fetchProviders();
}
bool BroadcastPluginImpl::init_provider() {
  return _providers.init_provider();
}
bool BroadcastPluginImpl::providerMount(BroadcastProvider* provider) {
  return _providers.providerMount(provider);
}
bool BroadcastPluginImpl::providerUnmount(BroadcastProvider* provider) {
  return _providers.providerUnmount(provider);
}
bool BroadcastPluginImpl::providerActivate(BroadcastProvider* provider) {
  return _providers.providerActivate(provider);
}
bool BroadcastPluginImpl::providerDeactivate(BroadcastProvider* provider) {
  return _providers.providerDeactivate(provider);
}

bool BroadcastPluginImpl::discover(std::string location, BroadcastProtocolType protocol, ReceiverType receiver,
                                   bool flag) {
  return _scan.discover(location, protocol, receiver, flag);
}
bool BroadcastPluginImpl::discover(const durix_scan_configuration* configuration, BroadcastProtocolType protocol,
                                   ReceiverType receiver, bool flag) {
  return _scan.discover(configuration, protocol, receiver, flag);
}
bool BroadcastPluginImpl::discover_cancel() {
  return _scan.discover_cancel();
}
bool BroadcastPluginImpl::requestDiscover(std::string location, bool flag) {
  return _scan.requestDiscover(location, flag);
}
bool BroadcastPluginImpl::requestSpecificDiscover(std::string location, BroadcastProtocolType protocol,
                                                  ReceiverType receiver, bool flag) {
  return _scan.requestSpecificDiscover(std::move(location), protocol, receiver, flag);
}
bool BroadcastPluginImpl::loadScanConfigurationFromXml(BCLocation* location) {
  return _locations.loadScanConfigurationFromXml(location);
}
void BroadcastPluginImpl::tokenize(const std::string& text, std::vector<std::string>* tokens,
                                   const std::string& delimiters) {
  ::tokenize(text, tokens, delimiters);
}
std::vector<std::string> BroadcastPluginImpl::loadLocationFileNames() {
  return _locations.loadLocationFileNames();
}
void BroadcastPluginImpl::loadLocationFromXml(const std::string& path) {
  _locations.loadLocationFromXml(path);
}
bool BroadcastPluginImpl::locationSorter(const std::string& a, const std::string& b) {
  return LocationCatalogue::locationSorter(a, b);
}
std::map<std::string, std::string> BroadcastPluginImpl::getCountriesAndFlags() {
  return _locations.getCountriesAndFlags();
}
std::vector<Device*> BroadcastPluginImpl::getDevices() {
  return _devices.getDevices();
}
std::string BroadcastPluginImpl::getTunerType() {
  return _devices.getTunerType();
}

std::vector<Service*> BroadcastPluginImpl::getServices() {
  return _services.getServices();
}
std::vector<Service*> BroadcastPluginImpl::getMwServices() {
  return _services.getMwServices();
}
std::vector<Service*> BroadcastPluginImpl::orderServices(std::vector<Service*> services) {
  return _services.orderServices(services);
}
std::vector<Service*> BroadcastPluginImpl::removeDuplicates(std::vector<Service*> services) {
  return ServiceList::removeDuplicates(services);
}
bool BroadcastPluginImpl::serviceExists(unsigned id) {
  return _services.serviceExists(id);
}
bool BroadcastPluginImpl::isServiceDataValid() const {
  return _services.isServiceDataValid();
}
void BroadcastPluginImpl::setServiceDataValid(bool valid) {
  _services.setServiceDataValid(valid);
}
Service* BroadcastPluginImpl::getService(const std::string& name, unsigned network) {
  return _services.getService(name, network);
}
void BroadcastPluginImpl::setServiceOrder(std::vector<Service*> services) {
  _services.setServiceOrder(services);
}
void BroadcastPluginImpl::setPlayableStatus(std::vector<Service*> selected) {
  _services.setPlayableStatus(selected);
}
std::vector<Service*> BroadcastPluginImpl::getConflicting(std::vector<Service*> selected) {
  return _services.getConflicting(selected);
}
void BroadcastPluginImpl::updateServiceList() {
  _services.updateServiceList();
}

std::vector<Program*> BroadcastPluginImpl::getPrograms() {
  return _guide.getPrograms();
}
Program* BroadcastPluginImpl::getProgram(int id) {
  return _guide.getProgram(id);
}
std::vector<Program*> BroadcastPluginImpl::search(std::vector<std::string> words) {
  return _guide.search(std::move(words));
}
std::vector<Program*> BroadcastPluginImpl::getProgramsWithTitles(std::vector<std::string> titles) {
  return _guide.getProgramsWithTitles(std::move(titles));
}
void BroadcastPluginImpl::flush() {
  _guide.flush();
}
void BroadcastPluginImpl::update() {
  setState(PLUGIN_ACTIVE);
}
void BroadcastPluginImpl::updateProgramList() {
  _guide.updateProgramList();
}
void BroadcastPluginImpl::updateProgramList(ServiceImpl* service) {
  _guide.updateProgramList(service);
}
void BroadcastPluginImpl::updatePrograms() {
  _guide.updatePrograms();
}
void BroadcastPluginImpl::esgUpdateEnable(bool enable) {
  durix_property_set(_durixHandle, DURIX_PROPERTY_ESG_UPDATE, enable ? "true" : "false");
}
void BroadcastPluginImpl::allowUpdates() {
  durix_allow_updates(_durixHandle);
}
void BroadcastPluginImpl::openEsgDataFeeds() {
  _feeds.openEsgDataFeeds();
}
void BroadcastPluginImpl::closeEsgDataFeeds() {
  _feeds.closeEsgDataFeeds();
}
void BroadcastPluginImpl::openNewDataFeed() {
  _feeds.openNewDataFeed();
}
void BroadcastPluginImpl::initEsgTimer() {
  _feeds.initEsgTimer();
}
void BroadcastPluginImpl::esgDataTimerExpired() {
  _feeds.esgDataTimerExpired();
}
void BroadcastPluginImpl::closeCurrentDataFeed() {
  _feeds.closeCurrentDataFeed();
}

Player* BroadcastPluginImpl::createPlayer(AvContent* content, void* window, PlayerListener* listener) {
  return _players.createPlayer(content, window, listener);
}
Player* BroadcastPluginImpl::createTeletextPlayer(AvContent* content, void* window, PlayerListener* listener) {
  return _players.createTeletextPlayer(content, window, listener);
}
Player* BroadcastPluginImpl::createSecondaryPlayer(AvContent* content, void* window, PlayerListener* listener) {
  return _players.createSecondaryPlayer(content, window, listener);
}
bool BroadcastPluginImpl::destroySecondaryPlayer(Player* player) {
  return _players.destroySecondaryPlayer(player);
}
int BroadcastPluginImpl::getPlayerType(AvContent* /*content*/) {
  return 0;
}

std::vector<OptionGroup*>* BroadcastPluginImpl::getOptions() {
  return _settings.getOptions();
}
int BroadcastPluginImpl::getTimeshiftDuration() {
  return _settings.getTimeshiftDuration();
}
std::string BroadcastPluginImpl::getPreferredAudioLanguage() {
  return _settings.getPreferredAudioLanguage();
}
std::string BroadcastPluginImpl::getPreferredSubtitleLanguage() {
  return _settings.getPreferredSubtitleLanguage();
}
bool BroadcastPluginImpl::isPreferredAudioTypeMultiChannel() {
  return _settings.isPreferredAudioTypeMultiChannel();
}
bool BroadcastPluginImpl::isSubtitlesEnabled() const {
  return _settings.isSubtitlesEnabled();
}
bool BroadcastPluginImpl::loadEsgLanguages(std::string path) {
  return _settings.loadEsgLanguages(path);
}
void BroadcastPluginImpl::getAllLanguages(std::vector<std::string>* out) const {
  _settings.getAllLanguages(out);
}
void BroadcastPluginImpl::optionChanged(Option* option) {
  _settings.optionChanged(option);
}
void BroadcastPluginImpl::setContentCreated(bool created) {
  _settings.setContentCreated(created);
}
bool BroadcastPluginImpl::getContentCreated() const {
  return _settings.getContentCreated();
}

std::string BroadcastPluginImpl::getStringAttribute(durix_esg_object* object, durix_attribute attribute) {
  return ::getStringAttribute(object, attribute);
}
int BroadcastPluginImpl::getIntAttribute(durix_esg_object* object, durix_attribute attribute) {
  return ::getIntAttribute(object, attribute);
}
bool BroadcastPluginImpl::getBoolAttribute(durix_esg_object* object, durix_attribute attribute) {
  return ::getBoolAttribute(object, attribute);
}
std::vector<int> BroadcastPluginImpl::getIntArrayAttribute(durix_esg_object* object, durix_attribute attribute) {
  return ::getIntArrayAttribute(object, attribute);
}
