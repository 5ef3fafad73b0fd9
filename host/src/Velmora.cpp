#include "velmora/Velmora.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>

#include "host/HostClock.h"
#include "host/src/HostOptions.h"
#include "host/src/HostStore.h"
#include "host/src/ListenerList.h"
#include "host/src/ReminderBook.h"

namespace {

using PropertyListeners = host::ListenerList<PropertyListener>;

// ISO 639-2:1998: the codes for terminology (T) that are not those for bibliography (B).
constexpr std::array<std::pair<std::string_view, std::string_view>, 20> BIBLIOGRAPHIC = {{
    {"bod", "tib"}, {"ces", "cze"}, {"cym", "wel"}, {"deu", "ger"}, {"ell", "gre"}, {"eus", "baq"}, {"fas", "per"},
    {"fra", "fre"}, {"hye", "arm"}, {"isl", "ice"}, {"kat", "geo"}, {"mkd", "mac"}, {"mri", "mao"}, {"msa", "may"},
    {"mya", "bur"}, {"nld", "dut"}, {"ron", "rum"}, {"slk", "slo"}, {"sqi", "alb"}, {"zho", "chi"},
}};

}  // namespace

struct Velmora::State {
  std::mutex mutex;  // a leaf
  // guarded by mutex
  std::map<std::string, std::shared_ptr<PropertyListeners>> listeners;  // by prefix
};

PropertyListener::~PropertyListener() {
  PropertyListeners::forget(this);
}

Velmora::Velmora() : _state(std::make_unique<State>()) {}

Velmora* Velmora::getInstance() {
  static auto* const instance = new Velmora;
  return instance;
}

std::string Velmora::getProperty(const std::string& name) {
  return host::hostStore().property(name);
}

std::string Velmora::getSystemProperty(const std::string& name) {
  return getProperty(name);
}

void Velmora::setProperty(const std::string& name, const std::string& value) {
  if (!host::hostStore().setProperty(name, value)) return;
  std::vector<std::shared_ptr<PropertyListeners>> interested;
  {
    const std::lock_guard lock(_state->mutex);
    for (const auto& [prefix, listeners] : _state->listeners) {
      if (name.rfind(prefix, 0) == 0) interested.push_back(listeners);
    }
  }
  for (const auto& listeners : interested) {
    listeners->tell([&](PropertyListener& listener) { listener.notifyPropertyChanged(name, value); });
  }
}

void Velmora::addPropertyListener(const std::string& prefix, PropertyListener* listener) {
  const std::lock_guard lock(_state->mutex);
  auto& listeners = _state->listeners[prefix];
  if (!listeners) listeners = PropertyListeners::make();
  listeners->add(listener);
}

std::vector<OptionGroup*> Velmora::getOptions() {
  return host::hostOptionGroups();
}

std::string Velmora::getIso6392bFromIso6392t(const std::string& code) {
  for (const auto& [terminology, bibliography] : BIBLIOGRAPHIC) {
    if (code == terminology) return std::string(bibliography);
  }
  return {};
}

std::string Velmora::getTime(bool utc) {
  const std::time_t now = host::now();
  std::tm fields{};
  if ((utc ? gmtime_r(&now, &fields) : localtime_r(&now, &fields)) == nullptr) return {};
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d%s", fields.tm_year + 1900, fields.tm_mon + 1,
                fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec, utc ? "Z" : "");
  return text.data();
}

std::int64_t Velmora::getTimeI(bool) {
  return host::now();
}

void Velmora::updateReminders(Plugin* plugin) {
  host::wakeReminders(plugin);
}

void Velmora::removeReminders(Plugin* plugin) {
  host::sleepReminders(plugin);
}
