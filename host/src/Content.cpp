#include "velmora/Content.h"

namespace {

template <class Map, class Value>
Value find(const Map& map, const std::string& key, const Value& fallback) {
  const auto known = map.find(key);
  return known == map.end() ? fallback : known->second;
}

}  // namespace

Content::Content(unsigned id, Plugin* plugin) : _id(id), _plugin(plugin) {}
Content::~Content() = default;

bool Content::hasResource(int) {
  return false;
}
Resource* Content::getResource(int) {
  return nullptr;
}

std::string Content::getTitle() {
  const std::lock_guard lock(_store);
  return _title;
}

std::string Content::getDescription() {
  const std::lock_guard lock(_store);
  return _description;
}

void Content::setTitle(const std::string& title) {
  const std::lock_guard lock(_store);
  _title = title;
}

void Content::setDescription(const std::string& description) {
  const std::lock_guard lock(_store);
  _description = description;
}

int Content::getIntProperty(const std::string& key) const {
  const std::lock_guard lock(_store);
  return find(_numbers, key, 0);
}

void Content::setIntProperty(const std::string& key, int value) {
  const std::lock_guard lock(_store);
  _numbers[key] = value;
}

bool Content::getBoolProperty(const std::string& key) const {
  return getIntProperty(key) != 0;
}

void Content::setBoolProperty(const std::string& key, bool value) {
  setIntProperty(key, value ? 1 : 0);
}

void Content::propertyAdd(const std::string& key, const std::string& value) {
  const std::lock_guard lock(_store);
  _texts[key] = value;
}

std::string Content::propertyGet(const std::string& key, const std::string& fallback) const {
  const std::lock_guard lock(_store);
  return find(_texts, key, fallback);
}
