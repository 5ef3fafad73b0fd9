#pragma once

#include <memory>
#include <mutex>

#include "middleware/player/Playback.h"
#include "middleware/player/Player.h"

namespace durix {

/// Plays video, sound and subtitles: keeps what the host wants of it, also between runs, and has one run at a time.
class VideoPlayer : public Player {
 public:
  /// The instance outlives everything but the object itself: stop() is called before it ends.
  VideoPlayer(Instance& instance, const durix_render_data& data) : _instance(instance) { _wishes.render = data; }
  ~VideoPlayer() override;

  void setRenderData(const durix_render_data& data) override;  // for the next start
  void start() override;
  void end() override;
  void pause(bool isOn) override;
  void setSize(std::uint32_t width, std::uint32_t height) override;
  void setVolume(std::uint8_t volume) override;
  void seek(std::uint32_t position) override;
  std::uint32_t position() override;
  std::uint32_t duration() override;
  void stop() noexcept override;

  /// What is played from now on goes there too.
  StreamCopy& copy() { return *_copy; }

  /// The run, which may be over; null before the first.
  std::shared_ptr<Playback> playback() const;

 private:
  void feedsChanged() override;
  template <typename Change>
  void change(Change change);
  std::shared_ptr<Playback> makePlayback();  // _mutex is held

  Instance& _instance;
  const std::shared_ptr<StreamCopy> _copy = std::make_shared<StreamCopy>();

  std::mutex _starting;  // one start or stop at a time; above _mutex

  // guarded by _mutex; under it the run's are taken
  mutable std::mutex _mutex;
  PlayerWishes _wishes;
  std::shared_ptr<Playback> _playback;
  bool _isRunning = false;
  bool _isStopped = false;
};

}  // namespace durix
