#pragma once

#include <cstdint>
#include <string>
#include <vector>

class Plugin;

/// Reminders of programmes. Each lasts until it has fired, is removed, or its plugin dies. A reminder that is due looks
/// its content up at the plugin and tells the plugin's listeners with `notifyReminder`; when the plugin no longer has
/// the content, one line in the log says so. `Velmora::removeReminders` puts those of a plugin to sleep while its
/// contents go, `Velmora::updateReminders` wakes them. Any thread may call.
namespace host {

struct Reminder {
  Plugin* plugin = nullptr;  // not owned
  unsigned contentId = 0;
  std::int64_t time = 0;  // seconds since the epoch
  std::string text;       // for people
};

/// The number that removes it.
std::uint64_t addReminder(const Reminder& reminder);

/// False when it is not there. Does not wait for a reminder that is being told.
bool removeReminder(std::uint64_t number);

/// All of a plugin, those asleep too, in the order of their numbers.
std::vector<Reminder> reminders(const Plugin* plugin);

}  // namespace host
