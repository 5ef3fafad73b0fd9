#pragma once

class Plugin;

namespace host {

/// Arms the reminders of a plugin, those already due included.
void wakeReminders(const Plugin* plugin);

/// Disarms them. Waits for none that is being told, because its listener may need what the caller holds.
void sleepReminders(const Plugin* plugin);

/// Drops them and waits for one that another thread is telling. For a plugin that dies.
void forgetReminders(Plugin* plugin);

}  // namespace host
