#include "Screen.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <set>

namespace durix::test {
namespace {

constexpr std::int32_t FIRST_FREQUENCY = 474'000'000;
constexpr std::int32_t RASTER = 8'000'000;
constexpr std::array EVENTS{DURIX_PLAYER_EVENT_STARTED, DURIX_PLAYER_EVENT_CLOSED, DURIX_PLAYER_EVENT_FAILED,
                            DURIX_PLAYER_EVENT_END_OF_MEDIA};

}  // namespace

std::filesystem::path captures() {
  const char* const given = std::getenv("TV_CAPTURES");
  const std::filesystem::path folder =
      given != nullptr ? std::filesystem::path(given) : std::filesystem::path(TV_SOURCE_DIR) / "../shared/captures";
  return std::filesystem::is_directory(folder) ? folder : std::filesystem::path();
}

Television::Television(const std::vector<std::filesystem::path>& streams, unsigned tuners) {
  std::vector<std::int32_t> frequencies;
  for (const auto& stream : streams) {
    frequencies.push_back(FIRST_FREQUENCY + RASTER * static_cast<std::int32_t>(frequencies.size()));
    std::filesystem::create_symlink(stream, _middleware.airDirectory() / (std::to_string(frequencies.back()) + ".ts"));
  }
  const std::string receivers =
      "dvb-t=file:" + _middleware.airDirectory().string() + ",time=stream,tuners=" + std::to_string(tuners);
  EXPECT_EQ(_middleware.start(receivers), DURIX_OK);
  EXPECT_TRUE(_middleware.scan(frequencies));
}

durix_esg_object Television::channel(const std::string& name) const {
  for (const auto& service : _middleware.services()) {
    if (_middleware.text(service, DURIX_ATTRIBUTE_NAME) == name) return service;
  }
  ADD_FAILURE() << "no channel " << name;
  return {};
}

durix_esg_object Television::feed(const durix_esg_object& channel, std::int32_t type,
                                  const std::string& language) const {
  for (const auto& feed : feeds(channel)) {
    if (_middleware.number(feed, DURIX_ATTRIBUTE_FEED_TYPE) != type) continue;
    if (language.empty() || _middleware.text(feed, DURIX_ATTRIBUTE_LANGUAGE) == language) return feed;
  }
  return {};
}

Screen::Screen(void* window) {
  for (const auto event : EVENTS) durix_callback_add(nullptr, event, handler, this);
  const durix_render_data data{DURIX_RENDER_VIDEO, window, nullptr, nullptr};
  EXPECT_EQ(durix_player_create(&_player, &data, this), DURIX_OK);
}

Screen::~Screen() {
  for (const auto event : EVENTS) durix_callback_remove(nullptr, event, handler);
  destroy();
}

void Screen::destroy() {
  if (_player != nullptr) durix_player_destroy(_player);
  const std::scoped_lock lock(_mutex);
  _player = nullptr;
}

bool Screen::play(const Television& television, const std::string& channel, const std::string& language) {
  const auto service = television.channel(channel);
  const auto video = television.feed(service, DURIX_FEED_VIDEO);
  const auto audio = television.feed(service, DURIX_FEED_AUDIO, language);
  const bool hasBoth = (video.kind == 0 || add(video)) && (audio.kind == 0 || add(audio));
  return hasBoth && start();
}

void Screen::handler(durix_event_data* event, void* user) {
  auto& screen = *static_cast<Screen*>(user);
  const bool isEnd = wordAt(event, DURIX_OFFSET_EVENT) == DURIX_PLAYER_EVENT_END_OF_MEDIA;
  const std::size_t offset = isEnd ? DURIX_OFFSET_PLAYER_END_OF_MEDIA_HANDLE : DURIX_OFFSET_PLAYER_HANDLE;
  durix_player* player = nullptr;
  std::memcpy(static_cast<void*>(&player), reinterpret_cast<const char*>(event) + offset, sizeof player);
  const std::scoped_lock lock(screen._mutex);
  if (player == screen._player) screen._events.push_back(wordAt(event, DURIX_OFFSET_EVENT));
}

unsigned Screen::count(std::uint32_t event) const {
  const std::scoped_lock lock(_mutex);
  return static_cast<unsigned>(std::ranges::count(_events, event));
}

bool Screen::waitFor(std::uint32_t event) const {
  return eventually([&] { return count(event) > 0; });
}

std::uint32_t Screen::position() const {
  std::uint32_t position = 0;
  EXPECT_EQ(durix_player_get_position(_player, &position), DURIX_OK);
  return position;
}

bool Screen::waitForPosition(std::uint32_t seconds) const {
  return eventually([&] { return position() >= seconds || !state().failure.empty(); }) && state().failure.empty();
}

const Screen::Track* Screen::State::track(std::uint32_t type) const {
  const auto found = std::ranges::find(tracks, type, &Track::type);
  return found == tracks.end() ? nullptr : &*found;
}

Screen::State Screen::state() const {
  State state;
  const auto take = [](const durix_tools_player_state* told, void* user) {
    auto& copy = *static_cast<State*>(user);
    copy = {told->started != 0, told->failure, told->width, told->height, told->dropped, {}};
    for (std::uint32_t i = 0; i < told->track_count; ++i) {
      const auto& track = told->tracks[i];
      copy.tracks.push_back({track.type, track.pid, track.codec, track.language});
    }
  };
  EXPECT_EQ(durix_tools_player(this, take, &state), DURIX_OK);
  return state;
}

unsigned Screen::Picture::colours() const {
  std::set<std::uint32_t> colours;
  for (std::size_t i = 0; i + 3 < pixels.size(); i += 4) {
    colours.insert(static_cast<std::uint32_t>(pixels[i] >> 5U << 6U | pixels[i + 1] >> 5U << 3U | pixels[i + 2] >> 5U));
  }
  return static_cast<unsigned>(colours.size());
}

std::optional<Screen::Picture> Screen::picture() const {
  std::optional<Picture> picture;
  const auto take = [](const durix_tools_picture* shown, void* user) {
    const std::size_t size = std::size_t{shown->width} * shown->height * 4;
    static_cast<std::optional<Picture>*>(user)->emplace(
        Picture{shown->width, shown->height, {shown->rgba, shown->rgba + size}});
  };
  durix_tools_player_picture(this, take, &picture);
  return picture;
}

std::optional<Screen::Picture> Screen::waitForPicture() const {
  std::optional<Picture> shown;
  eventually([&] {
    shown = picture();
    return (shown && shown->colours() > 1) || !state().failure.empty();
  });
  return shown;
}

}  // namespace durix::test
