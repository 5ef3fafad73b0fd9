#pragma once

#include <mpv/client.h>
#include <mpv/stream_cb.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "middleware/player/PlayedBytes.h"

namespace durix {

/// One decoder with its outputs: pictures into a window, or nowhere without one; sound by the system, or nowhere where
/// there is none. Made, used and destroyed by one thread, but for wake(). Everything is asked for without waiting; what
/// comes of it is an event.
class MpvCore {
 public:
  /// Throws Failure.
  explicit MpvCore(std::optional<std::uint32_t> window);
  MpvCore(const MpvCore&) = delete;
  MpvCore& operator=(const MpvCore&) = delete;
  ~MpvCore();

  /// Plays these bytes instead of what it plays now.
  void play(std::shared_ptr<PlayedBytes> bytes);

  void set(const char* property, const std::string& value);
  void observe(const char* property, mpv_format format);

  /// Replied to by an event of this number, which holds the picture as it is shown.
  void takePicture(std::uint64_t number);

  /// The next event, valid until the next call; MPV_EVENT_NONE after this time or a wake().
  const mpv_event& wait(double seconds);

  /// Any thread.
  void wake();

 private:
  struct Destroy {
    void operator()(mpv_handle* handle) const { mpv_terminate_destroy(handle); }
  };
  class Opened;
  static int openBytes(void* user, char* uri, mpv_stream_cb_info* info);
  Opened* open(const std::string& uri);

  // guarded by _mutex, a leaf: the decoder opens on a thread of its own
  std::mutex _mutex;
  std::map<std::string, std::shared_ptr<PlayedBytes>> _toOpen;  // by their address
  std::vector<std::unique_ptr<Opened>> _opened;                 // all that ever were: see there

  std::uint64_t _count = 0;  // of play()
  std::unique_ptr<mpv_handle, Destroy> _handle;
};

}  // namespace durix
