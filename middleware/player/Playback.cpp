#include "middleware/player/Playback.h"

#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

#include "middleware/events/EventQueue.h"
#include "middleware/portability/Log.h"

namespace durix {
namespace {

constexpr double TURN = 0.05;             // seconds between steps at the most
constexpr double LONGEST_ADVANCE = 10.0;  // more between two moments of the stream is a jump
constexpr std::size_t PIXEL = 4;

const mpv_node* entryOf(const mpv_node& map, std::string_view key) {
  if (map.format != MPV_FORMAT_NODE_MAP) return nullptr;
  const mpv_node_list& list = *map.u.list;
  for (int i = 0; i < list.num; ++i) {
    if (list.keys[i] == key) return &list.values[i];
  }
  return nullptr;
}

std::size_t numberOf(const mpv_node& map, std::string_view key) {
  const mpv_node* const entry = entryOf(map, key);
  const bool isNumber = entry != nullptr && entry->format == MPV_FORMAT_INT64 && entry->u.int64 > 0;
  return isNumber ? static_cast<std::size_t>(entry->u.int64) : 0;
}

// Blue, green, red and nothing, as the decoder gives it.
std::optional<PlayedPicture> pictureOf(const mpv_node& map) {
  const std::size_t width = numberOf(map, "w");
  const std::size_t height = numberOf(map, "h");
  const std::size_t stride = numberOf(map, "stride");
  const mpv_node* const data = entryOf(map, "data");
  if (data == nullptr || data->format != MPV_FORMAT_BYTE_ARRAY || width == 0) return std::nullopt;
  if (stride < width * PIXEL || data->u.ba->size < stride * height) return std::nullopt;
  PlayedPicture picture{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), {}};
  picture.pixels.reserve(width * height * PIXEL);
  for (std::size_t row = 0; row < height; ++row) {
    const auto* pixel = static_cast<const std::uint8_t*>(data->u.ba->data) + row * stride;
    for (std::size_t column = 0; column < width; ++column, pixel += PIXEL) {
      picture.pixels.insert(picture.pixels.end(), {pixel[2], pixel[1], pixel[0], 0xFF});
    }
  }
  return picture;
}

EventRecord playerEvent(std::uint32_t event, durix_player* handle) {
  EventRecord record(event);
  const bool isEnd = event == DURIX_PLAYER_EVENT_END_OF_MEDIA;
  record.put(isEnd ? DURIX_OFFSET_PLAYER_END_OF_MEDIA_HANDLE : DURIX_OFFSET_PLAYER_HANDLE, static_cast<void*>(handle));
  record.about(handle);
  return record;
}

// A page is written with hexadecimal digits, and those of subtitles have none above 9.
bool isTeletextPage(unsigned page) {
  return page >= 0x100 && page <= 0x8FF && (page & 0xF0) <= 0x90 && (page & 0x0F) <= 9;
}

unsigned decimalOf(unsigned page) {
  return (page >> 8U) * 100 + (page >> 4U & 0xFU) * 10 + (page & 0xFU);
}

std::optional<std::uint32_t> windowOf(const PlayerWishes& wishes) {
  const auto number = reinterpret_cast<std::uintptr_t>(wishes.render.window);
  if (number == 0) return std::nullopt;
  return static_cast<std::uint32_t>(number);
}

}  // namespace

Playback::Playback(Parts parts, PlayerWishes wishes) : _parts(std::move(parts)), _wishes(std::move(wishes)) {}

Playback::~Playback() = default;

void Playback::begin() {
  _thread = std::thread([this] { run(); });
}

void Playback::wish(const PlayerWishes& wishes) {
  {
    const std::scoped_lock lock(_mutex);
    _wishes = wishes;
  }
  wake();
}

void Playback::wake() {
  const std::scoped_lock lock(_mutex);
  if (_core != nullptr) _core->wake();
}

void Playback::end() {
  conclude(DURIX_PLAYER_EVENT_CLOSED);
  release();
  wake();
}

void Playback::shutDown() noexcept {
  {
    const std::scoped_lock lock(_mutex);
    _isOver = true;
    if (_core != nullptr) _core->wake();
  }
  if (_thread.joinable()) _thread.join();
}

std::uint32_t Playback::position() const {
  const std::scoped_lock lock(_mutex);
  return static_cast<std::uint32_t>(_position);
}

std::optional<PlayedPicture> Playback::picture(std::chrono::milliseconds limit) {
  std::future<std::optional<PlayedPicture>> answer;
  {
    const std::scoped_lock lock(_mutex);
    if (_isOver || _core == nullptr) return std::nullopt;
    answer = _wantedPictures.emplace_back().answer.get_future();
    _core->wake();
  }
  if (answer.wait_for(limit) != std::future_status::ready) return std::nullopt;
  try {
    return answer.get();
  } catch (const std::future_error&) {  // it was over first
    return std::nullopt;
  }
}

Playback::Report Playback::report() const {
  const std::scoped_lock lock(_mutex);
  return _report;
}

bool Playback::isOver() const {
  const std::scoped_lock lock(_mutex);
  return _isOver;
}

PlayerWishes Playback::wishes() const {
  const std::scoped_lock lock(_mutex);
  return _wishes;
}

void Playback::tellStarted() {
  const std::scoped_lock lock(_mutex);
  if (_isOver || std::exchange(_report.isStarted, true)) return;
  _parts.events.post(playerEvent(DURIX_PLAYER_EVENT_STARTED, _parts.handle));
}

void Playback::tellEndOfMedia() {
  conclude(DURIX_PLAYER_EVENT_END_OF_MEDIA);
}

bool Playback::conclude(std::uint32_t event) {
  const std::scoped_lock lock(_mutex);
  if (std::exchange(_isOver, true)) return false;
  _parts.events.post(playerEvent(event, _parts.handle));
  return true;
}

void Playback::fail(const std::string& why) {
  {
    const std::scoped_lock lock(_mutex);
    if (!_isOver) _report.failure = why;
  }
  if (conclude(DURIX_PLAYER_EVENT_FAILED)) logLine("player: " + why);
}

void Playback::run() noexcept {
  try {
    work();
  } catch (const std::exception& error) {
    fail(error.what());
  }
  release();
  _pictures.clear();
  std::unique_ptr<MpvCore> core;
  {
    const std::scoped_lock lock(_mutex);
    core = std::move(_core);
    _wantedPictures.clear();
  }
  core.reset();
  _window.reset();
}

void Playback::work() {
  open();
  makeCore();
  while (!isOver()) {
    applyWishes();
    step(std::chrono::steady_clock::now());
    takeEvent(_core->wait(TURN));
  }
}

void Playback::makeCore() {
  _applied = wishes();
  const auto parent = windowOf(_applied);
  if (parent) _window = std::make_unique<VideoWindow>(*parent, _applied.width, _applied.height);
  auto core = std::make_unique<MpvCore>(parent ? std::optional(_window->id()) : std::nullopt);
  core->observe("time-pos", MPV_FORMAT_DOUBLE);
  core->observe("audio-pts", MPV_FORMAT_DOUBLE);
  core->observe("width", MPV_FORMAT_INT64);
  core->observe("height", MPV_FORMAT_INT64);
  _applied.volume = 0xFF;  // none of them: what is wished is said once
  const std::scoped_lock lock(_mutex);
  _core = std::move(core);
}

void Playback::applyWishes() {
  std::vector<PictureRequest> pictures;
  PlayerWishes wanted;
  {
    const std::scoped_lock lock(_mutex);
    wanted = _wishes;
    pictures.swap(_wantedPictures);
  }
  if (wanted.volume != _applied.volume) {
    _core->set("volume", std::to_string(wanted.volume));
    _core->set("mute", wanted.volume == 0 ? "yes" : "no");
  }
  if (wanted.isPaused != _applied.isPaused) {
    _core->set("pause", wanted.isPaused ? "yes" : "no");
    if (!wanted.isPaused) resumed();
  }
  const bool isResized = wanted.width != _applied.width || wanted.height != _applied.height;
  if (isResized && _window != nullptr) _window->resize(wanted.width, wanted.height);
  _applied = std::move(wanted);
  for (auto& request : pictures) {
    _core->takePicture(++_lastRequest);
    _pictures.emplace(_lastRequest, std::move(request));
  }
}

void Playback::play(const Feed* subtitles, std::shared_ptr<PlayedBytes> bytes, bool hasPicture) {
  _core->set("vid", hasPicture ? "auto" : "no");
  _core->set("sid", subtitles == nullptr ? "no" : "1");  // the only ones
  if (subtitles != nullptr && isTeletextPage(subtitles->page)) {
    _core->set("teletext-page", std::to_string(decimalOf(subtitles->page)));
  }
  _core->play(std::move(bytes));
  _entry = 0;
  _isCounting = false;
}

void Playback::setTracks(const TrackPlan& plan) {
  const std::scoped_lock lock(_mutex);
  _report.tracks = plan.tracks;
}

void Playback::setPosition(std::uint32_t seconds) {
  const std::scoped_lock lock(_mutex);
  _position = seconds;
}

void Playback::countDropped(std::uint64_t bytes) {
  const std::scoped_lock lock(_mutex);
  _report.dropped = bytes;
}

void Playback::takeEvent(const mpv_event& event) {
  switch (event.event_id) {
    case MPV_EVENT_PROPERTY_CHANGE:
      return takeProperty(*static_cast<const mpv_event_property*>(event.data));
    case MPV_EVENT_COMMAND_REPLY:
      return answerPicture(event);
    case MPV_EVENT_START_FILE:
      _entry = static_cast<const mpv_event_start_file*>(event.data)->playlist_entry_id;
      _isCounting = false;
      return;
    case MPV_EVENT_PLAYBACK_RESTART:
      _hasPlayed = true;
      if (_entry != 0) beginCounting();
      return;
    case MPV_EVENT_END_FILE: {
      const auto& end = *static_cast<const mpv_event_end_file*>(event.data);
      const bool isReplaced = end.reason != MPV_END_FILE_REASON_EOF && end.reason != MPV_END_FILE_REASON_ERROR;
      if (!isReplaced && end.playlist_entry_id == _entry) bytesEnded(end.reason == MPV_END_FILE_REASON_ERROR);
      return;
    }
    default:
      return;
  }
}

void Playback::takeProperty(const mpv_event_property& property) {
  if (property.format == MPV_FORMAT_DOUBLE) return takeTime(*static_cast<const double*>(property.data));
  if (property.format != MPV_FORMAT_INT64) return;
  const auto number = static_cast<std::uint32_t>(*static_cast<const std::int64_t*>(property.data));
  const std::scoped_lock lock(_mutex);
  (std::strcmp(property.name, "width") == 0 ? _report.width : _report.height) = number;
}

// Of pictures and of sound, whichever is further: either may be missing for a while. Before the first of them there are
// times that mean nothing.
void Playback::takeTime(double seconds) {
  if (!_isCounting) return;
  const double advance = _lastTime ? seconds - *_lastTime : 0;
  if (std::abs(advance) <= LONGEST_ADVANCE && advance <= 0 && _lastTime) return;
  _lastTime = seconds;
  if (advance > LONGEST_ADVANCE || advance < 0) return;
  const std::scoped_lock lock(_mutex);
  _position += advance;
}

void Playback::beginCounting() {
  _isCounting = true;
  _lastTime.reset();
  if (!_gap) return;
  const std::chrono::duration<double> gap = std::chrono::steady_clock::now() - *std::exchange(_gap, std::nullopt);
  const std::scoped_lock lock(_mutex);
  _position += gap.count();
}

void Playback::countGap() {
  if (!_gap) _gap = std::chrono::steady_clock::now();
}

void Playback::answerPicture(const mpv_event& event) {
  auto request = _pictures.extract(event.reply_userdata);
  if (!request) return;
  const auto& result = static_cast<const mpv_event_command*>(event.data)->result;
  request.mapped().answer.set_value(event.error < 0 ? std::nullopt : pictureOf(result));
}

}  // namespace durix
