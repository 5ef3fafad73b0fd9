#pragma once

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "host/src/ForEver.h"

namespace host {

/// Listeners by address, and who is inside which. Its mutex is a leaf: no listener is called while it is held.
class ListenerSet {
 public:
  void add(void* listener);  // one that is there already stays once

  /// Takes the listener out and returns when no other thread is inside it, so that it may be deleted.
  void remove(void* listener);

 protected:
  /// One call of a listener that is still registered; false when it no longer is.
  class Visit {
   public:
    Visit(ListenerSet& set, void* listener);
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    ~Visit();
    explicit operator bool() const { return _entered; }

   private:
    ListenerSet& _set;
    void* const _listener;
    bool _entered = false;
  };

  std::vector<void*> snapshot() const;

 private:
  struct Inside {
    void* listener;
    std::thread::id thread;
    bool operator==(const Inside&) const = default;
  };

  mutable std::mutex _mutex;
  // guarded by _mutex
  std::vector<void*> _listeners;  // not owned
  std::vector<Inside> _inside;    // one for each call in progress
  std::condition_variable _left;
};

/// Logs what a listener or a thread body let escape: nothing of it goes further.
void logEscaped(const char* what);

/// Calls and lets no exception through.
template <class Call>
void callGuarded(const Call& call) {
  try {
    call();
  } catch (const std::exception& error) {
    logEscaped(error.what());
  } catch (...) {
    logEscaped("unknown exception");
  }
}

/// The listeners of one source, told in the order in which they came, each over a snapshot and with no lock held.
/// It is shared so that a listener that dies can leave it whatever has become of the source.
template <class Listener>
class ListenerList : public ListenerSet {
 public:
  virtual ~ListenerList() = default;

  /// A list that listeners leave by `forget`.
  template <class List = ListenerList, class... Arguments>
  static std::shared_ptr<List> make(Arguments&&... arguments) {
    auto list = std::make_shared<List>(std::forward<Arguments>(arguments)...);
    auto& registry = forEver<Registry>();
    const std::lock_guard lock(registry.mutex);
    std::erase_if(registry.lists, [](const auto& known) { return known.expired(); });
    registry.lists.push_back(list);
    return list;
  }

  /// Takes a listener out of every list of its kind, as `remove` does.
  static void forget(Listener* listener) {
    std::vector<std::weak_ptr<ListenerList>> lists;
    {
      auto& registry = forEver<Registry>();
      const std::lock_guard lock(registry.mutex);
      lists = registry.lists;
    }
    for (const auto& known : lists) {
      if (const auto list = known.lock()) list->leave(listener);
    }
  }

  template <class Call>
  void tell(const Call& call) {
    for (void* const listener : snapshot()) tellOne(static_cast<Listener*>(listener), call);
  }

  /// Calls for this listener when it is still registered.
  template <class Call>
  void tellOne(Listener* listener, const Call& call) {
    if (const Visit visit(*this, listener); visit) callGuarded([&] { call(*listener); });
  }

 protected:
  virtual void leave(Listener* listener) { remove(listener); }

 private:
  struct Registry {
    std::mutex mutex;                                // a leaf
    std::vector<std::weak_ptr<ListenerList>> lists;  // guarded by mutex
  };
};

}  // namespace host
