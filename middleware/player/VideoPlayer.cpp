#include "middleware/player/VideoPlayer.h"

#include <utility>

#include "middleware/api/Instance.h"
#include "middleware/player/LivePlayback.h"
#include "middleware/player/RecordingPlayback.h"

namespace durix {

VideoPlayer::~VideoPlayer() {
  VideoPlayer::stop();
}

template <typename Change>
void VideoPlayer::change(Change change) {
  const std::scoped_lock lock(_mutex);
  change(_wishes);
  if (_playback != nullptr) _playback->wish(_wishes);
}

void VideoPlayer::setRenderData(const durix_render_data& data) {
  change([&](PlayerWishes& wishes) { wishes.render = data; });
}

void VideoPlayer::feedsChanged() {
  change([&](PlayerWishes& wishes) { wishes.feeds = feeds(); });
}

void VideoPlayer::setSize(std::uint32_t width, std::uint32_t height) {
  change([&](PlayerWishes& wishes) {
    wishes.width = width;
    wishes.height = height;
  });
}

void VideoPlayer::setVolume(std::uint8_t volume) {
  change([&](PlayerWishes& wishes) { wishes.volume = volume; });
}

void VideoPlayer::pause(bool isOn) {
  if (playback() == nullptr) throw Failure(Code::Failed, "a player that was never started is paused");
  change([&](PlayerWishes& wishes) { wishes.isPaused = isOn; });
}

void VideoPlayer::start() {
  const std::scoped_lock alone(_starting);
  if (feeds().empty()) throw Failure(Code::Failed, "a player is started that has nothing to play");
  std::shared_ptr<Playback> before;
  {
    const std::scoped_lock lock(_mutex);
    if (_isStopped) throw Failure(Code::NoInstance);
    if (_isRunning) throw Failure(Code::Busy);
    before.swap(_playback);
  }
  if (before != nullptr) before->shutDown();
  const std::scoped_lock lock(_mutex);
  if (_isStopped) throw Failure(Code::NoInstance);
  if (_wishes.feeds.empty()) throw Failure(Code::Failed);  // taken away meanwhile
  _wishes.isPaused = false;
  _playback = makePlayback();
  _playback->begin();
  _isRunning = true;
}

std::shared_ptr<Playback> VideoPlayer::makePlayback() {
  if (const std::uint32_t recording = _wishes.feeds.front().recording; recording != 0) {
    return std::make_shared<RecordingPlayback>(Playback::Parts{handle(), _instance.events(), _copy},
                                               _instance.recordings(), recording, _wishes);
  }
  const ServiceReception::Parts source{_instance.tuners(), _instance.store(), _instance.events()};
  return std::make_shared<LivePlayback>(Playback::Parts{handle(), _instance.events(), _copy}, source, _wishes);
}

void VideoPlayer::end() {
  std::shared_ptr<Playback> playback;
  {
    const std::scoped_lock lock(_mutex);
    if (!std::exchange(_isRunning, false)) throw Failure(Code::Failed);
    playback = _playback;
  }
  playback->end();
}

void VideoPlayer::stop() noexcept {
  const std::scoped_lock alone(_starting);  // a start may be waiting for the run before
  std::shared_ptr<Playback> playback;
  {
    const std::scoped_lock lock(_mutex);
    _isStopped = true;
    _isRunning = false;
    playback.swap(_playback);
  }
  if (playback != nullptr) playback->shutDown();
}

void VideoPlayer::seek(std::uint32_t position) {
  const auto run = playback();
  if (run == nullptr) throw Failure(Code::Failed);
  run->seek(position);
}

std::uint32_t VideoPlayer::position() {
  const auto run = playback();
  return run == nullptr ? 0 : run->position();
}

std::uint32_t VideoPlayer::duration() {
  const auto run = playback();
  return run == nullptr ? 0 : run->duration();
}

std::shared_ptr<Playback> VideoPlayer::playback() const {
  const std::scoped_lock lock(_mutex);
  return _playback;
}

}  // namespace durix
