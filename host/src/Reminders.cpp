#include "host/Reminders.h"

#include <map>
#include <mutex>
#include <optional>

#include "host/src/ForEver.h"
#include "host/src/ListenerList.h"
#include "host/src/Log.h"
#include "host/src/PluginListeners.h"
#include "host/src/ReminderBook.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/VmTimer.h"

namespace host {
namespace {

constexpr const char* SOURCE = "host/src/Reminders.cpp";

/// The user data of the timer is the reminder's number; a timeout whose reminder is gone or asleep means nothing.
class Book : public TimerListener {
 public:
  Book() { _timer.addTimerListener(this); }

  std::uint64_t add(const Reminder& reminder) {
    _plugins->add(reminder.plugin);
    const std::lock_guard lock(_mutex);
    const std::uint64_t number = ++_last;
    _entries[number] = {reminder, true};
    arm(number, reminder.time);
    return number;
  }

  bool remove(std::uint64_t number) {
    const std::lock_guard lock(_mutex);
    _timer.removeTimeout(asData(number));
    return _entries.erase(number) > 0;
  }

  void setAwake(const Plugin* plugin, bool awake) {
    const std::lock_guard lock(_mutex);
    for (auto& [number, entry] : _entries) {
      if (entry.reminder.plugin != plugin) continue;
      entry.awake = awake;
      _timer.removeTimeout(asData(number));
      if (awake) arm(number, entry.reminder.time);
    }
  }

  void forget(Plugin* plugin) {
    {
      const std::lock_guard lock(_mutex);
      std::erase_if(_entries, [&](const auto& known) { return known.second.reminder.plugin == plugin; });
    }
    _plugins->remove(plugin);
  }

  std::vector<Reminder> all(const Plugin* plugin) {
    std::vector<Reminder> found;
    const std::lock_guard lock(_mutex);
    for (const auto& [number, entry] : _entries) {
      if (entry.reminder.plugin == plugin) found.push_back(entry.reminder);
    }
    return found;
  }

  void timerExpired(VmTimer*, void* data) override {
    const auto reminder = take(reinterpret_cast<std::uintptr_t>(data));
    if (!reminder) return;
    _plugins->tellOne(reminder->plugin, [&](Plugin& plugin) { tell(plugin, *reminder); });
  }

 private:
  struct Entry {
    Reminder reminder;
    bool awake = true;
  };

  static void* asData(std::uint64_t number) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(number));  // NOLINT(performance-no-int-to-ptr): a name
  }

  void arm(std::uint64_t number, std::int64_t time) { _timer.addTimeout(time, asData(number)); }

  std::optional<Reminder> take(std::uint64_t number) {
    const std::lock_guard lock(_mutex);
    const auto known = _entries.find(number);
    if (known == _entries.end() || !known->second.awake) return std::nullopt;
    const Reminder reminder = known->second.reminder;
    _entries.erase(known);
    return reminder;
  }

  static void tell(Plugin& plugin, const Reminder& reminder) {
    auto* const broadcast = dynamic_cast<BroadcastPlugin*>(&plugin);
    Program* const program = broadcast ? broadcast->getProgram(static_cast<int>(reminder.contentId)) : nullptr;
    if (!program) {
      log()._log("INFO", SOURCE, __LINE__, "the content %u of a reminder is gone: %s", reminder.contentId,
                 reminder.text.c_str());
      return;
    }
    log()._log("INFO", SOURCE, __LINE__, "reminder: %s", reminder.text.c_str());
    if (const auto listeners = PluginListeners::of(&plugin)) {
      listeners->tell([&](PluginListener& listener) { listener.notifyReminder(&plugin, program); });
    }
  }

  const std::shared_ptr<ListenerList<Plugin>> _plugins = ListenerList<Plugin>::make();  // those that have reminders

  std::mutex _mutex;  // taken before the timer's leaf
  // guarded by _mutex
  std::map<std::uint64_t, Entry> _entries;  // by number
  std::uint64_t _last = 0;

  VmTimer _timer;
};

}  // namespace

std::uint64_t addReminder(const Reminder& reminder) {
  return forEver<Book>().add(reminder);
}

bool removeReminder(std::uint64_t number) {
  return forEver<Book>().remove(number);
}

std::vector<Reminder> reminders(const Plugin* plugin) {
  return forEver<Book>().all(plugin);
}

void wakeReminders(const Plugin* plugin) {
  forEver<Book>().setAwake(plugin, true);
}

void sleepReminders(const Plugin* plugin) {
  forEver<Book>().setAwake(plugin, false);
}

void forgetReminders(Plugin* plugin) {
  forEver<Book>().forget(plugin);
}

}  // namespace host
