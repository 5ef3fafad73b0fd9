#pragma once

#include <cstdint>
#include <memory>

struct xcb_connection_t;

namespace durix {

/// A window inside the host's, which the decoder draws into: the host's own window stays as the host made it. Used by
/// one thread.
class VideoWindow {
 public:
  /// As large as the host's window unless a size is given. Throws Failure when there is no such window.
  VideoWindow(std::uint32_t parent, std::uint32_t width, std::uint32_t height);
  VideoWindow(const VideoWindow&) = delete;
  VideoWindow& operator=(const VideoWindow&) = delete;
  ~VideoWindow();

  std::uint32_t id() const { return _window; }
  void resize(std::uint32_t width, std::uint32_t height);  // pixels; 0 changes nothing

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const;
  };

  // A connection of its own, and one that tells of errors instead of ending the process.
  std::unique_ptr<xcb_connection_t, Disconnect> _connection;
  std::uint32_t _window = 0;
};

}  // namespace durix
