#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace durix {

/// Objects that a user of the contract knows by an opaque handle. A handle is a number in a pointer's clothing: it is
/// never dereferenced and never given twice, so that stale, foreign and null handles are told from every living one.
/// Any thread; an object found lives on for its finder when another thread removes it.
template <typename Handle, typename Object>
class HandleTable {
 public:
  Handle* add(std::shared_ptr<Object> object) {
    const std::scoped_lock lock(_mutex);
    _last += STEP;
    _objects.emplace(_last, std::move(object));
    return reinterpret_cast<Handle*>(_last);  // NOLINT(performance-no-int-to-ptr): see above
  }

  /// Null when the handle is none of the living.
  std::shared_ptr<Object> find(const Handle* handle) const {
    const std::scoped_lock lock(_mutex);
    const auto found = _objects.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == _objects.end() ? nullptr : found->second;
  }

  /// The object, which is no longer to be found; null as above.
  std::shared_ptr<Object> remove(const Handle* handle) {
    const std::scoped_lock lock(_mutex);
    const auto node = _objects.extract(reinterpret_cast<std::uintptr_t>(handle));
    return node ? std::move(node.mapped()) : nullptr;
  }

  /// In the order of their handles.
  std::vector<std::shared_ptr<Object>> all() const {
    const std::scoped_lock lock(_mutex);
    std::vector<std::shared_ptr<Object>> objects;
    for (const auto& [handle, object] : _objects) objects.push_back(object);
    return objects;
  }

  /// Every object, none of which is to be found any more.
  std::vector<std::shared_ptr<Object>> removeAll() {
    const std::scoped_lock lock(_mutex);
    std::vector<std::shared_ptr<Object>> objects;
    for (auto& [handle, object] : _objects) objects.push_back(std::move(object));
    _objects.clear();
    return objects;
  }

 private:
  static constexpr std::uintptr_t STEP = 16;  // handles look aligned

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::uintptr_t _last = 0;
  std::map<std::uintptr_t, std::shared_ptr<Object>> _objects;
};

}  // namespace durix
