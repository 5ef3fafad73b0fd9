#include "host/src/HostStore.h"

#include <system_error>

#include "host/HostState.h"
#include "host/src/ForEver.h"
#include "host/src/HostOptions.h"
#include "host/src/Log.h"
#include "velmora/Option.h"

namespace host {
namespace {

constexpr const char* SOURCE = "host/src/HostStore.cpp";

bool isOfThisRunOnly(const std::string& name) {
  return name.rfind("system.", 0) == 0;
}

/// Gives the members of a group, and of the groups inside it, the values that are remembered for them.
void applyRemembered(OptionGroup& group, const std::map<std::string, std::string>& remembered) {
  for (Option* const member : group.getOptions()) {
    if (member->isOptionGroup()) {
      if (auto* const inner = dynamic_cast<OptionGroup*>(member)) applyRemembered(*inner, remembered);
    } else if (const auto known = remembered.find(member->getId()); known != remembered.end()) {
      member->setValue(known->second);
    }
  }
}

}  // namespace

HostStore& hostStore() {
  return forEver<HostStore>();
}

bool HostStore::open(const std::filesystem::path& directory) {
  std::filesystem::path file = directory / "host.json";
  KeptState kept;
  std::string why;
  Loaded loaded = readState(file, kept, why);
  if (loaded == Loaded::DAMAGED) {
    std::filesystem::path aside = file;
    aside += ".damaged";
    std::error_code error;
    std::filesystem::rename(file, aside, error);
    log()._log("ERR", SOURCE, __LINE__, "%s is damaged (%s): %s %s; starting without it", file.c_str(), why.c_str(),
               error ? "it cannot be put aside as" : "put aside as", aside.c_str());
    if (error) loaded = Loaded::UNREADABLE;
  } else if (loaded == Loaded::NEWER || loaded == Loaded::UNREADABLE) {
    log()._log("ERR", SOURCE, __LINE__, "%s is left as it is: %s; nothing will be kept", file.c_str(), why.c_str());
  }
  const bool usable = loaded != Loaded::NEWER && loaded != Loaded::UNREADABLE;
  const std::lock_guard saving(_saving);
  const std::lock_guard lock(_mutex);
  _file = usable ? std::move(file) : std::filesystem::path();
  _kept = std::move(kept);
  return usable;
}

bool HostStore::save() {
  const std::lock_guard saving(_saving);
  std::filesystem::path file;
  KeptState kept;
  {
    const std::lock_guard lock(_mutex);
    if (_file.empty()) return false;
    file = _file;
    kept = _kept;
  }
  std::string why;
  const bool written = writeState(file, kept, why);
  if (!written) log()._log("ERR", SOURCE, __LINE__, "%s could not be written: %s", file.c_str(), why.c_str());
  return written;
}

std::string HostStore::property(const std::string& name) const {
  const std::lock_guard lock(_mutex);
  const auto& properties = isOfThisRunOnly(name) ? _systemProperties : _kept.properties;
  const auto known = properties.find(name);
  return known == properties.end() ? std::string() : known->second;
}

bool HostStore::setProperty(const std::string& name, const std::string& value) {
  const bool system = isOfThisRunOnly(name);
  {
    const std::lock_guard lock(_mutex);
    auto& properties = system ? _systemProperties : _kept.properties;
    const auto [known, isNew] = properties.try_emplace(name, value);
    if (!isNew) {
      if (known->second == value) return false;
      known->second = value;
    }
  }
  if (!system) save();
  return true;
}

void HostStore::rememberOption(const std::string& id, const std::string& value) {
  {
    const std::lock_guard lock(_mutex);
    std::string& known = _kept.options[id];
    if (known == value) return;
    known = value;
  }
  save();
}

std::map<std::string, std::string> HostStore::options() const {
  const std::lock_guard lock(_mutex);
  return _kept.options;
}

bool open(const std::string& dataDirectory) {
  const bool opened = hostStore().open(dataDirectory);
  const auto remembered = rememberedOptions();
  for (OptionGroup* const group : hostOptionGroups()) applyRemembered(*group, remembered);
  return opened;
}

bool save() {
  return hostStore().save();
}

void rememberOption(const std::string& id, const std::string& value) {
  hostStore().rememberOption(id, value);
}

std::map<std::string, std::string> rememberedOptions() {
  return hostStore().options();
}

void addHostOptionGroup(OptionGroup* group) {
  if (!group) return;
  applyRemembered(*group, rememberedOptions());
  keepOptionGroup(group);
}

}  // namespace host
