#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct xcb_connection_t;

namespace tv {

/// A window on the desktop to play in. One thread.
class PlayWindow {
 public:
  /// Throws Failure when there is no display.
  explicit PlayWindow(const std::string& title);
  PlayWindow(const PlayWindow&) = delete;
  PlayWindow& operator=(const PlayWindow&) = delete;
  ~PlayWindow();

  void setTitle(const std::string& title);

  /// As players want it.
  void* handle() const;
  unsigned width() const { return _width; }  // pixels
  unsigned height() const { return _height; }

  /// Takes what the desktop has told; true when the size has changed.
  bool update();
  bool closed() const { return _closed; }  // by its button, or the desktop has gone

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const;
  };
  std::uint32_t atom(const std::string& name) const;

  std::unique_ptr<xcb_connection_t, Disconnect> _connection;
  std::uint32_t _window = 0;
  std::uint32_t _deleteMessage = 0;
  unsigned _width = 0;
  unsigned _height = 0;
  bool _closed = false;
};

}  // namespace tv
