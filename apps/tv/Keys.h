#pragma once

#include <chrono>
#include <string>

namespace tv {

enum class Key { NONE, VOLUME_UP, VOLUME_DOWN, MUTE, PAUSE, AUDIO, SUBTITLES, NEXT, PREVIOUS, QUIT };

/// Takes the next key off the bytes that a terminal sent; NONE for bytes that are no key of ours, and with `bytes`
/// unchanged when they may be the beginning of one.
Key takeKey(std::string& bytes);

/// The keys of the terminal that this process stands at: while it lives they come at once and are not shown.
class Keys {
 public:
  /// Without a terminal, or in the background, there are no keys.
  Keys();
  Keys(const Keys&) = delete;
  Keys& operator=(const Keys&) = delete;
  ~Keys();

  bool available() const { return _available; }

  /// The next key; NONE when none came in that time.
  Key wait(std::chrono::milliseconds limit);

  /// The terminal as it was before, whoever ends the process now. Safe in any thread.
  static void restoreTerminal();

 private:
  bool _available = false;
  std::string _bytes;
};

}  // namespace tv
