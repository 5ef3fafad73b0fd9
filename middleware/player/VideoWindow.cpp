#include "middleware/player/VideoWindow.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "middleware/api/Failure.h"

namespace durix {
namespace {

constexpr std::uint32_t LARGEST = 32767;  // of the protocol

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

std::uint16_t limited(std::uint32_t size) {
  return static_cast<std::uint16_t>(std::clamp(size, 1U, LARGEST));
}

}  // namespace

void VideoWindow::Disconnect::operator()(xcb_connection_t* connection) const {
  xcb_disconnect(connection);
}

VideoWindow::VideoWindow(std::uint32_t parent, std::uint32_t width, std::uint32_t height)
    : _connection(xcb_connect(nullptr, nullptr)) {
  xcb_connection_t* const connection = _connection.get();
  if (xcb_connection_has_error(connection) != 0) throw Failure(Code::Failed, "player: the display cannot be opened");
  const std::unique_ptr<xcb_get_geometry_reply_t, Free> geometry(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, parent), nullptr));
  if (geometry == nullptr) throw Failure(Code::InvalidArgument, "player: there is no such window");
  if (width == 0 || height == 0) {
    width = geometry->width;
    height = geometry->height;
  }
  _window = xcb_generate_id(connection);
  const std::uint32_t black = 0;
  const auto made = xcb_create_window_checked(connection, XCB_COPY_FROM_PARENT, _window, parent, 0, 0, limited(width),
                                              limited(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                                              XCB_CW_BACK_PIXEL, &black);
  const std::unique_ptr<xcb_generic_error_t, Free> error(xcb_request_check(connection, made));
  if (error != nullptr) throw Failure(Code::InvalidArgument, "player: the window takes no other inside");
  xcb_map_window(connection, _window);
  xcb_flush(connection);
}

// The server destroys what the connection made, if the host's window has not gone and taken it along.
VideoWindow::~VideoWindow() = default;

void VideoWindow::resize(std::uint32_t width, std::uint32_t height) {
  if (width == 0 || height == 0) return;
  const std::array<std::uint32_t, 2> size{limited(width), limited(height)};
  xcb_configure_window(_connection.get(), _window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size.data());
  xcb_flush(_connection.get());
}

}  // namespace durix
