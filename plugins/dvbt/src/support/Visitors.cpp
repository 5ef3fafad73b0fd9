#include "support/Visitors.h"

#include <algorithm>
#include <vector>

namespace {

thread_local std::vector<const void*> ownVisits;

}  // namespace

void Visitors::enter(const void* object) {
  ownVisits.push_back(object);
  const std::lock_guard<std::mutex> lock(_mutex);
  ++_inside[object];
}

void Visitors::leave(const void* object) {
  ownVisits.erase(std::next(std::find(ownVisits.rbegin(), ownVisits.rend(), object)).base());
  const std::lock_guard<std::mutex> lock(_mutex);
  const auto entry = _inside.find(object);
  if (--entry->second == 0) _inside.erase(entry);
  _left.notify_all();
}

void Visitors::waitUntilLeft(const void* object) {
  const auto own = static_cast<int>(std::count(ownVisits.begin(), ownVisits.end(), object));
  std::unique_lock<std::mutex> lock(_mutex);
  _left.wait(lock, [&] {
    const auto entry = _inside.find(object);
    return entry == _inside.end() || entry->second <= own;
  });
}
