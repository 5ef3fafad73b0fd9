#pragma once

#include <string>

#include "Output.h"

class BroadcastPlugin;
class Playlist;
class Recorder;
class Recording;
class Scheduling;

namespace tv {

class SideDoor;

/// The plugin's recorder. Throws Failure when it has none.
Recorder& recorderOf(BroadcastPlugin& plugin);

/// A timer, as `timers` gives it: texts as the plugin has them, and seconds since the epoch.
Json timerJson(Scheduling& timer);

/// A recording, as `recordings` gives it; what only the middleware knows is left out when it does not tell.
Json recordingJson(Recording& recording, const SideDoor& sideDoor);

Json playlistJson(Playlist& playlist);

}  // namespace tv
