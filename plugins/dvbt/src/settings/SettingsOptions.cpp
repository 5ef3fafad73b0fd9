#include "settings/SettingsOptions.h"

#include <memory>
#include <utility>

#include "BCLocation.h"
#include "ChannelListOption.h"
#include "core/OptionKeys.h"
#include "settings/Languages.h"
#include "support/Log.h"
#include "tuning/LocationCatalogue.h"
#include "velmora/Plugin.h"
#include "velmora/Velmora.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

const std::string GROUP_ID = "BC_PLUGIN_OPTIONS";

}  // namespace

void BroadcastOptionListener::optionChanged(Option* option) {
  _settings.optionChanged(option);
}

/// What a changed option does.
struct SettingsOptions::Change {
  const std::string id;
  void (SettingsOptions::*apply)(Option* option);
};

SettingsOptions::SettingsOptions(LocationCatalogue& locations, Plugin& plugin, SettingsHost& host)
    : _locations(locations), _plugin(plugin), _host(host), _optionListener(*this) {}

SettingsOptions::~SettingsOptions() {
  deleteGroups();
}

void SettingsOptions::build() {
  deleteGroups();
  auto group = std::make_unique<OptionGroup>();
  group->init(_plugin.getId(), GROUP_ID, "BroadcastPlugins options");
  addPlayback(*group);
  addLanguages(*group);
  addLocation(*group);
  addChannels(*group);
  _optionGroups.push_back(group.release());
}

void SettingsOptions::deleteGroups() {
  for (std::atomic<Option*>* const option :
       {&_audioLanguageOption, &_subtitleLanguageOption, &_locationOption, &_hideRadioOption, &_hideProtectedOption}) {
    *option = nullptr;
  }
  for (OptionGroup* const group : std::exchange(_optionGroups, {})) delete group;
}

std::unique_ptr<Option> SettingsOptions::createOption(OptionType type, OptionCategory category, const std::string& id,
                                                      const std::string& description) {
  auto option = std::make_unique<Option>();
  option->init(type, category, GROUP_ID, id, description, false);
  option->addOptionListener(&_optionListener);
  return option;
}

void SettingsOptions::addPlayback(OptionGroup& group) {
  auto subtitles = createOption(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, OPTION_ID_ENABLE_SUBTITLES,
                                OPTION_DESCRIPTION_ENABLE_SUBTITLES);
  subtitles->setValue(false);
  _subtitlesEnabled = false;
  group.addOption(subtitles.release());
  // No option stands for this one: it changes only when the host hands in an option of its id.
  _preferMultichannel = false;

  if (!_host.hasRecorder()) return;
  auto timeshift = createOption(OPTION_INTEGER, OPTION_CATEGORY_PLAYBACK, OPTION_ID_TIMESHIFT_LENGTH,
                                OPTION_DESCRIPTION_TIMESHIFT_LENGTH);
  timeshift->setValue(_timeshiftDuration.load());
  group.addOption(timeshift.release());
}

void SettingsOptions::addLanguages(OptionGroup& group) {
  std::unique_ptr<Option> options[] = {
      createOption(OPTION_TEXT_LIST, OPTION_CATEGORY_LANGUAGE, OPTION_ID_ESG_LANGUAGE, OPTION_DESCRIPTION_ESG_LANGUAGE),
      createOption(OPTION_TEXT_LIST, OPTION_CATEGORY_LANGUAGE, OPTION_ID_AUDIO_LANGUAGE,
                   OPTION_DESCRIPTION_AUDIO_LANGUAGE),
      createOption(OPTION_TEXT_LIST, OPTION_CATEGORY_LANGUAGE, OPTION_ID_SUBTITLE_LANGUAGE,
                   OPTION_DESCRIPTION_SUBTITLE_LANGUAGE)};

  const std::string path = Velmora::getInstance()->getProperty("system.library_directory") + "/scan_conf.txt";
  BC_INFO(LOG, "loading languages from: %s", path.c_str());
  std::vector<std::string> offered;
  if (loadEsgLanguages(path)) {
    offered = languages();
    for (const auto& option : options) option->setValue(offered.front());
    for (const std::string& language : offered) BC_INFO(LOG, "adding language option: %s", language.c_str());
  } else {
    BC_INFO(LOG, "Language loading failed. Setting default languages");
    const std::string chosen = Velmora::getInstance()->getProperty("esg_language");
    for (const auto& option : options) option->setValue(chosen);
    getAllLanguages(&offered);
  }
  for (const auto& option : options) option->setPossibleStringValuesList(offered);
  _audioLanguageOption = options[1].get();
  _subtitleLanguageOption = options[2].get();
  for (auto& option : options) group.addOption(option.release());
}

void SettingsOptions::addLocation(OptionGroup& group) {
  auto location =
      createOption(OPTION_LOCATION_LIST, OPTION_CATEGORY_CHANNELS, OPTION_ID_LOCATION, OPTION_DESCRIPTION_LOCATION);
  location->setPossibleStringValuesList(_locations.loadAll());
  _locationOption = location.get();
  group.addOption(location.release());
}

void SettingsOptions::addChannels(OptionGroup& group) {
  auto update = std::make_unique<ChannelListOption>();
  update->addOptionListener(&_optionListener);
  group.addOption(update.release());

  auto radio = createOption(OPTION_BOOL, OPTION_CATEGORY_CHANNELS, OPTION_ID_HIDE_RADIO, OPTION_DESCRIPTION_HIDE_RADIO);
  _hideRadioOption = radio.get();
  const std::string hidesRadio = _host.getDurixProperty(DURIX_PROPERTY_HIDE_RADIO);
  radio->setValue(!hidesRadio.empty() && hidesRadio != "false");
  group.addOption(radio.release());

  auto guarded =
      createOption(OPTION_BOOL, OPTION_CATEGORY_CHANNELS, OPTION_ID_HIDE_PROTECTED, OPTION_DESCRIPTION_HIDE_PROTECTED);
  _hideProtectedOption = guarded.get();
  const std::string hidesProtected = _host.getDurixProperty(DURIX_PROPERTY_HIDE_PROTECTED);
  guarded->setValue(hidesProtected.empty() || hidesProtected == "true");
  group.addOption(guarded.release());
}

std::vector<OptionGroup*>* SettingsOptions::getOptions() {
  BC_INFO(LOG, "BroadcastPluginImpl::getOptions()");
  return &_optionGroups;
}

std::string SettingsOptions::getPreferredAudioLanguage() const {
  const Option* const option = _audioLanguageOption;
  return option == nullptr ? std::string() : option->getStringValue();
}

std::string SettingsOptions::getPreferredSubtitleLanguage() const {
  const Option* const option = _subtitleLanguageOption;
  return option == nullptr ? std::string() : option->getStringValue();
}

bool SettingsOptions::loadEsgLanguages(const std::string& path) {
  std::string text;
  const bool opened = readLanguagesFile(path, &text);
  if (!opened) BC_ERR(LOG, "file read failed: %s", path.c_str());
  const Lock lock(_languagesMutex);
  _languages = parseLanguages(text);
  return !_languages.empty();
}

std::vector<std::string> SettingsOptions::languages() const {
  const Lock lock(_languagesMutex);
  return _languages;
}

void SettingsOptions::getAllLanguages(std::vector<std::string>* out) const {
  *out = defaultLanguages();
}

void SettingsOptions::optionChanged(Option* option) {
  if (option == nullptr) return;
  static const Change CHANGES[] = {{OPTION_ID_ESG_LANGUAGE, &SettingsOptions::propertyTextChanged},
                                   {OPTION_ID_HIDE_PROTECTED, &SettingsOptions::propertyFlagChanged},
                                   {OPTION_ID_HIDE_RADIO, &SettingsOptions::propertyFlagChanged},
                                   {OPTION_ID_ENABLE_SUBTITLES, &SettingsOptions::enableSubtitlesChanged},
                                   {OPTION_ID_PREFER_MULTICHANNEL_AUDIO, &SettingsOptions::preferMultichannelChanged},
                                   {OPTION_ID_LOCATION, &SettingsOptions::locationChanged},
                                   {OPTION_ID_AUDIO_LANGUAGE, &SettingsOptions::audioLanguageChanged},
                                   {OPTION_ID_SUBTITLE_LANGUAGE, &SettingsOptions::subtitleLanguageChanged},
                                   {CHANNEL_LIST_OPTION_ID, &SettingsOptions::channelListChosen},
                                   {OPTION_ID_TIMESHIFT_LENGTH, &SettingsOptions::timeshiftLengthChanged}};
  const std::string id = option->getId();
  for (const Change& change : CHANGES) {
    if (change.id == id) return (this->*change.apply)(option);
  }
}

void SettingsOptions::propertyTextChanged(Option* option) {
  _host.setDurixProperty(option->getId(), option->getValue());
}

void SettingsOptions::propertyFlagChanged(Option* option) {
  _host.setDurixProperty(option->getId(), Option::boolToString(option));
}

void SettingsOptions::enableSubtitlesChanged(Option* option) {
  bool enabled = _subtitlesEnabled;
  option->getValue(&enabled);
  _subtitlesEnabled = enabled;
  _host.enableSubtitles(enabled);
}

void SettingsOptions::preferMultichannelChanged(Option* option) {
  bool preferred = _preferMultichannel;
  option->getValue(&preferred);
  _preferMultichannel = preferred;  // takes effect at the next start of a player
}

void SettingsOptions::locationChanged(Option* option) {
  // Of several places with one name the last one is taken, whatever its receiver; a scan request looks closer.
  _locations.forEachNamed(option->getValue(), [this](BCLocation* location) {
    _host.selectLocation(location);
    BC_INFO(LOG, "New scan conf set location = %s", location->name.c_str());
  });
}

void SettingsOptions::audioLanguageChanged(Option* option) {
  _host.setDurixProperty(option->getId(), option->getValue());
  _host.changeAudioLanguage(option->getStringValue());
}

void SettingsOptions::subtitleLanguageChanged(Option* /*option*/) {
  if (!_subtitlesEnabled) return;
  // Off and on again, so that the player chooses anew.
  _host.enableSubtitles(false);
  _host.enableSubtitles(true);
}

void SettingsOptions::channelListChosen(Option* /*option*/) {
  BC_INFO(LOG, "Update Channel list");
}

void SettingsOptions::timeshiftLengthChanged(Option* option) {
  int minutes = _timeshiftDuration;
  option->getValue(&minutes);
  _timeshiftDuration = minutes;
}
