#include "Preferences.h"

#include "Failure.h"
#include "OptionValues.h"
#include "PluginLibrary.h"

namespace tv {
namespace {

// The plugin offers no such option: it takes it from the host, by the operation's exported name.
constexpr const char* MULTICHANNEL = "settings.option.id.prefer.multichannel.audio";
constexpr const char* OPTION_CHANGED = "_ZN19BroadcastPluginImpl13optionChangedEP6Option";

}  // namespace

Preferences::~Preferences() {
  if (_isMultichannel) deliverMultichannel(false);
  for (const auto& [option, value] : _before) {
    if (option->getType() == OPTION_BOOL) {
      option->setValue(value == "true");
    } else {
      option->setValue(value);
    }
  }
}

void Preferences::set(const std::string& option, const std::string& value) {
  if (Option* const found = take(option)) found->setValue(value);
}

void Preferences::set(const std::string& option, bool value) {
  if (Option* const found = take(option)) found->setValue(value);
}

void Preferences::preferMultichannel() {
  if (!deliverMultichannel(true)) throw Failure("--multichannel is not to be had with this plugin");
  _isMultichannel = true;
}

bool Preferences::deliverMultichannel(bool value) {
  auto* const deliver = _library.find<void(void*, Option*)>(OPTION_CHANGED);
  if (deliver == nullptr) return false;
  Option option;
  option.init(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, "", MULTICHANNEL, "", true);
  option.setValue(value);
  deliver(&_plugin, &option);
  return true;
}

Option* Preferences::take(const std::string& option) {
  for (Option* const one : allOptions(*_plugin.getOptions())) {
    if (one->getId() != option) continue;
    _before.emplace(one, one->getValue());
    return one;
  }
  return nullptr;
}

}  // namespace tv
