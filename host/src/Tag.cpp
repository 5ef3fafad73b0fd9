#include "velmora/Tag.h"

#include <map>
#include <mutex>
#include <utility>

#include "host/src/ForEver.h"

namespace {

struct Tags {
  std::mutex mutex;                   // a leaf
  std::map<std::string, Tag*> known;  // by id; guarded by mutex
};

}  // namespace

Tag::Tag(std::string id, std::string name, std::string text)
    : _id(std::move(id)), _name(std::move(name)), _text(std::move(text)) {}

TagFactory* TagFactory::getInstance() {
  return &host::forEver<TagFactory>();
}

Tag* TagFactory::getTag(const std::string& id, const std::string& name, const std::string& text) {
  auto& tags = host::forEver<Tags>();
  const std::lock_guard lock(tags.mutex);
  Tag*& tag = tags.known[id];
  if (!tag) tag = new Tag(id, name, text);
  return tag;
}
