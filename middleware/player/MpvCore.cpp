#include "middleware/player/MpvCore.h"

#include <array>
#include <clocale>
#include <filesystem>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/portability/Log.h"

namespace durix {
namespace {

constexpr const char* PROTOCOL = "durix";

using Option = std::pair<const char*, const char*>;
constexpr std::array OPTIONS{
    Option{"config", "no"},
    Option{"load-scripts", "no"},
    Option{"ytdl", "no"},
    Option{"osc", "no"},
    Option{"input-default-bindings", "no"},
    Option{"input-vo-keyboard", "no"},
    Option{"input-cursor", "no"},
    Option{"terminal", "no"},
    Option{"idle", "yes"},
    Option{"sub-auto", "no"},
    Option{"audio-file-auto", "no"},
    Option{"audio-display", "no"},
    Option{"audio-client-name", "tv"},
    Option{"audio-fallback-to-null", "yes"},
    Option{"osd-level", "0"},
    Option{"hwdec", "no"},
    // A transport stream for sure: its tables say what there is, and the pictures need not be looked at first.
    Option{"demuxer-lavf-format", "mpegts"},
    Option{"demuxer-lavf-probe-info", "nostreams"},
    // What stands still does not grow, and what comes late makes a pause and no more.
    Option{"cache", "yes"},
    Option{"demuxer-max-bytes", "16MiB"},
    Option{"demuxer-max-back-bytes", "0"},
    Option{"cache-pause", "no"},
    Option{"demuxer-termination-timeout", "0"},
};

// Asking ALSA for sound where there is no card makes it write on standard error.
bool hasSoundCard() {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/snd", error)) {
    if (entry.path().filename().string().starts_with("pcm")) return true;
  }
  return false;
}

}  // namespace

/// What the decoder has opened. It may cancel what it has closed already, until it is destroyed itself: this is there
/// as long, and lets the bytes go before.
class MpvCore::Opened {
 public:
  explicit Opened(std::shared_ptr<PlayedBytes> bytes) : _bytes(std::move(bytes)) {}

  static std::int64_t read(void* cookie, char* buffer, std::uint64_t size) noexcept {
    const auto bytes = static_cast<Opened*>(cookie)->bytes();
    if (bytes == nullptr) return 0;
    return static_cast<std::int64_t>(bytes->read({reinterpret_cast<std::uint8_t*>(buffer), size}));
  }

  static void cancel(void* cookie) noexcept {
    if (const auto bytes = static_cast<Opened*>(cookie)->bytes()) bytes->cancel();
  }

  static void close(void* cookie) noexcept {
    auto& self = *static_cast<Opened*>(cookie);
    const std::scoped_lock lock(self._mutex);
    self._bytes.reset();
  }

 private:
  std::shared_ptr<PlayedBytes> bytes() const {
    const std::scoped_lock lock(_mutex);
    return _bytes;
  }

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::shared_ptr<PlayedBytes> _bytes;
};

MpvCore::MpvCore(std::optional<std::uint32_t> window) {
  // The library reads and writes numbers with a point, and refuses to be made elsewhere.
  if (std::string("C") != std::setlocale(LC_NUMERIC, nullptr)) std::setlocale(LC_NUMERIC, "C");
  _handle.reset(mpv_create());
  if (_handle == nullptr) throw Failure(Code::OutOfMemory, "player: the decoder cannot be made");
  const auto option = [&](const char* name, const std::string& value) {
    const int result = mpv_set_option_string(_handle.get(), name, value.c_str());
    if (result < 0) logLine(std::string("player: ") + name + ": " + mpv_error_string(result));
  };
  for (const auto& [name, value] : OPTIONS) option(name, value);
  option("ao", hasSoundCard() ? "pulse,alsa" : "pulse");
  if (window) {
    option("wid", std::to_string(*window));
    option("vo", "gpu,xv,x11");
    option("gpu-context", "x11egl");  // the window is one of X11, whatever else the desktop has
  } else {
    option("vo", "null");
  }
  int result = mpv_initialize(_handle.get());
  if (result >= 0) result = mpv_stream_cb_add_ro(_handle.get(), PROTOCOL, this, openBytes);
  if (result < 0) throw Failure(Code::Failed, std::string("player: ") + mpv_error_string(result));
}

// Ends a read that waits, and everything else.
MpvCore::~MpvCore() = default;

int MpvCore::openBytes(void* user, char* uri, mpv_stream_cb_info* info) {
  auto* const opened = static_cast<MpvCore*>(user)->open(uri);
  if (opened == nullptr) return MPV_ERROR_LOADING_FAILED;
  info->cookie = opened;
  info->read_fn = Opened::read;
  info->cancel_fn = Opened::cancel;
  info->close_fn = Opened::close;
  return 0;
}

MpvCore::Opened* MpvCore::open(const std::string& uri) {
  const std::scoped_lock lock(_mutex);
  const auto node = _toOpen.extract(uri);
  if (!node) return nullptr;
  return _opened.emplace_back(std::make_unique<Opened>(node.mapped())).get();
}

void MpvCore::play(std::shared_ptr<PlayedBytes> bytes) {
  const std::string uri = std::string(PROTOCOL) + "://" + std::to_string(++_count);
  {
    const std::scoped_lock lock(_mutex);
    _toOpen.clear();  // what was not opened yet is not to be any more
    _toOpen.emplace(uri, std::move(bytes));
  }
  std::array<const char*, 4> command{"loadfile", uri.c_str(), "replace", nullptr};
  mpv_command_async(_handle.get(), 0, command.data());
}

void MpvCore::set(const char* property, const std::string& value) {
  const char* text = value.c_str();
  mpv_set_property_async(_handle.get(), 0, property, MPV_FORMAT_STRING, static_cast<void*>(&text));
}

void MpvCore::observe(const char* property, mpv_format format) {
  mpv_observe_property(_handle.get(), 0, property, format);
}

void MpvCore::takePicture(std::uint64_t number) {
  std::array<const char*, 3> command{"screenshot-raw", "subtitles", nullptr};
  mpv_command_async(_handle.get(), number, command.data());
}

const mpv_event& MpvCore::wait(double seconds) {
  return *mpv_wait_event(_handle.get(), seconds);
}

void MpvCore::wake() {
  mpv_wakeup(_handle.get());
}

}  // namespace durix
