#include "PlayWindow.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <utility>

#include "Failure.h"

namespace tv {
namespace {

constexpr unsigned WIDTH = 1024;
constexpr unsigned HEIGHT = 576;
constexpr std::uint8_t WHOLE_CHARACTERS = 8;  // bits of a unit of a property
constexpr std::uint8_t WHOLE_WORDS = 32;
constexpr std::uint8_t SENT = 0x80;  // by another client: the rest is the event

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename Reply>
using Owned = std::unique_ptr<Reply, Free>;

}  // namespace

void PlayWindow::Disconnect::operator()(xcb_connection_t* connection) const {
  xcb_disconnect(connection);
}

PlayWindow::PlayWindow(const std::string& title)
    : _connection(xcb_connect(nullptr, nullptr)), _width(WIDTH), _height(HEIGHT) {
  xcb_connection_t* const connection = _connection.get();
  if (xcb_connection_has_error(connection) != 0) {
    throw Failure("--window needs a desktop: no X display can be opened (DISPLAY)");
  }
  const xcb_screen_t* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  _window = xcb_generate_id(connection);
  const std::uint32_t values[] = {screen->black_pixel, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, _window, screen->root, 0, 0, WIDTH, HEIGHT, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
  _deleteMessage = atom("WM_DELETE_WINDOW");
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, _window, atom("WM_PROTOCOLS"), XCB_ATOM_ATOM, WHOLE_WORDS, 1,
                      &_deleteMessage);
  setTitle(title);
  xcb_map_window(connection, _window);
  // Whoever draws into it comes from another connection: it is there for them once the server has answered.
  const Owned<xcb_get_geometry_reply_t> there(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, _window), nullptr));
  if (there == nullptr) throw Failure("the window cannot be opened");
}

PlayWindow::~PlayWindow() = default;

std::uint32_t PlayWindow::atom(const std::string& name) const {
  const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
      _connection.get(), xcb_intern_atom(_connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
      nullptr));
  return reply == nullptr ? static_cast<std::uint32_t>(XCB_ATOM_NONE) : reply->atom;
}

void PlayWindow::setTitle(const std::string& title) {
  const auto length = static_cast<std::uint32_t>(title.size());
  xcb_change_property(_connection.get(), XCB_PROP_MODE_REPLACE, _window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                      WHOLE_CHARACTERS, length, title.data());
  xcb_change_property(_connection.get(), XCB_PROP_MODE_REPLACE, _window, atom("_NET_WM_NAME"), atom("UTF8_STRING"),
                      WHOLE_CHARACTERS, length, title.data());
  xcb_flush(_connection.get());
}

void* PlayWindow::handle() const {
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(_window));  // NOLINT(performance-no-int-to-ptr)
}

bool PlayWindow::update() {
  const std::pair before{_width, _height};
  while (const auto event = Owned<xcb_generic_event_t>(xcb_poll_for_event(_connection.get()))) {
    const int type = event->response_type & ~SENT;
    if (type == XCB_CONFIGURE_NOTIFY) {
      const auto* const size = reinterpret_cast<const xcb_configure_notify_event_t*>(event.get());
      _width = size->width;
      _height = size->height;
    } else if (type == XCB_CLIENT_MESSAGE) {
      const auto* const message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
      _closed = _closed || message->data.data32[0] == _deleteMessage;
    } else if (type == XCB_DESTROY_NOTIFY) {
      _closed = true;
    }
  }
  _closed = _closed || xcb_connection_has_error(_connection.get()) != 0;
  return before != std::pair{_width, _height};
}

}  // namespace tv
