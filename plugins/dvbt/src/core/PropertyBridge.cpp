#include "core/PropertyBridge.h"

#include <algorithm>
#include <array>

#include "core/OptionKeys.h"
#include "support/Log.h"
#include "support/MwMemory.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

struct Mapping {
  const std::string* name;
  durix_property property;
  bool refreshesGuide;
};

const std::array<Mapping, 5> MAPPINGS{{
    {&OPTION_ID_ESG_LANGUAGE, DURIX_PROPERTY_ESG_LANGUAGE, true},
    {&OPTION_ID_HIDE_PROTECTED, DURIX_PROPERTY_HIDE_PROTECTED, true},
    {&OPTION_ID_HIDE_RADIO, DURIX_PROPERTY_HIDE_RADIO, true},
    {&RECORD_ALL_AUDIO_CHANNELS, DURIX_PROPERTY_RECORD_ALL_AUDIO_CHANNELS, true},
    {&OPTION_ID_AUDIO_LANGUAGE, DURIX_PROPERTY_AUDIO_LANGUAGE, false},
}};

}  // namespace

void PropertyBridge::setDurixProperty(const std::string& name, const std::string& value) {
  const auto* const mapping =
      std::find_if(MAPPINGS.begin(), MAPPINGS.end(), [&](const Mapping& m) { return *m.name == name; });
  if (mapping == MAPPINGS.end()) {
    BC_INFO(LOG, "setDurixProperty: unknown property %s", name.c_str());
    return;
  }
  durix_property_set(_host.durixHandle(), mapping->property, value.c_str());
  if (!mapping->refreshesGuide) return;
  const PluginState state = _host.getState();
  if (state == PLUGIN_INACTIVE || state == PLUGIN_ACTIVE || state == PLUGIN_DISCOVER_PENDING) _host.flush();
}

std::string PropertyBridge::getDurixProperty(durix_property number) {
  char* text = nullptr;
  if (durix_property_get(_host.durixHandle(), number, &text) != DURIX_OK) return {};  // what is there then is nobody's
  return MwText(text).str();
}

void PropertyBridge::notifyPropertyChanged(const std::string& name, const std::string& value) {
  if (name.find("receiver_address") != std::string::npos) {
    durix_property_set(_host.durixHandle(), DURIX_PROPERTY_RECEIVER_ADDRESS, value.c_str());
  } else if (name.find("esg_update") != std::string::npos) {
    durix_property_set(_host.durixHandle(), DURIX_PROPERTY_ESG_UPDATE, value.c_str());
  }
}

void PropertyBridge::setRecordingsPath(const char* path) {
  if (path != nullptr &&
      durix_property_set(_host.durixHandle(), DURIX_PROPERTY_RECORDINGS_DIRECTORY, path) == DURIX_OK) {
    return;
  }
  BC_ERR(LOG, "setRecordingsPath, failed to set path");
}
