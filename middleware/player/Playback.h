#pragma once

#include <chrono>
#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "middleware/player/MpvCore.h"
#include "middleware/player/Player.h"
#include "middleware/player/StreamCopy.h"
#include "middleware/player/TrackPlan.h"
#include "middleware/player/VideoWindow.h"

namespace durix {

class EventQueue;

/// How something is to be played.
struct PlayerWishes {
  durix_render_data render{};
  std::vector<ChosenFeed> feeds{};
  std::uint8_t volume = 100;
  bool isPaused = false;
  std::uint32_t width = 0, height = 0;  // pixels; 0: the host's window's
};

/// A picture as it is shown, in square pixels; rows of RGBA.
struct PlayedPicture {
  std::uint32_t width = 0, height = 0;
  std::vector<std::uint8_t> pixels{};
};

/// One run of a player, from start to end: a thread that opens what is played, drives the decoder, and tells by events
/// what became of it.
///
///     begun -> started (STARTED) -> over (CLOSED by end(), FAILED, END_OF_MEDIA)
///     begun -> over (CLOSED, FAILED)
///
/// What is over tells nothing more. Subclasses say what is played; their destructor calls shutDown().
class Playback {
 public:
  using Time = std::chrono::steady_clock::time_point;

  struct Parts {
    durix_player* handle;
    EventQueue& events;                // outlives the thread
    std::shared_ptr<StreamCopy> copy;  // gets what is played
  };
  Playback(Parts parts, PlayerWishes wishes);
  Playback(const Playback&) = delete;
  Playback& operator=(const Playback&) = delete;
  virtual ~Playback();

  void begin();
  void wish(const PlayerWishes& wishes);

  /// Over, and nothing is received any more; the decoder ends by itself afterwards.
  void end();

  /// Returns when the thread has ended. Not for the thread itself.
  void shutDown() noexcept;

  virtual std::uint32_t position() const;  // seconds, as the next two
  virtual std::uint32_t duration() const = 0;
  virtual void seek(std::uint32_t position) = 0;

  /// What is shown now; nothing when nothing is, or it takes too long.
  std::optional<PlayedPicture> picture(std::chrono::milliseconds limit);

  struct Report {
    bool isStarted = false;
    std::string failure{};  // why it failed, for people
    std::vector<PlayedTrack> tracks{};
    std::uint32_t width = 0, height = 0;  // of the pictures as broadcast, once some were decoded
    std::uint64_t dropped = 0;            // bytes that were not played
  };
  Report report() const;

 protected:
  // On the thread; what they throw as Failure ends it all as failed.
  virtual void open() = 0;                      // where it comes from, before there is a decoder
  virtual void step(Time now) = 0;              // often
  virtual void bytesEnded(bool hasFailed) = 0;  // the decoder has no more of what it was given last
  virtual void resumed() {}                     // after a pause

  /// Lets go of where it comes from. Any thread, more than once.
  virtual void release() = 0;

  bool isOver() const;
  PlayerWishes wishes() const;
  void tellStarted();
  void tellEndOfMedia();
  /// `subtitles` is the feed of those that are in the bytes, and null without.
  void play(const Feed* subtitles, std::shared_ptr<PlayedBytes> bytes, bool hasPicture = true);
  void setTracks(const TrackPlan& plan);
  void setPosition(std::uint32_t seconds);
  void countGap();  // what passes until the decoder plays is played time: it is not played later
  void countDropped(std::uint64_t bytes);
  void wake();
  bool hasPlayed() const { return _hasPlayed; }  // something was decoded, ever; on the thread
  const std::shared_ptr<StreamCopy>& copy() const { return _parts.copy; }

 private:
  struct PictureRequest {
    std::promise<std::optional<PlayedPicture>> answer;
  };

  void run() noexcept;
  void work();
  void makeCore();
  void applyWishes();
  void takeEvent(const mpv_event& event);
  void takeProperty(const mpv_event_property& property);
  void takeTime(double seconds);
  void beginCounting();
  void answerPicture(const mpv_event& event);
  bool conclude(std::uint32_t event);  // false when it is over already
  void fail(const std::string& why);

  const Parts _parts;

  // the thread's own
  PlayerWishes _applied;
  std::unique_ptr<VideoWindow> _window;
  std::optional<double> _lastTime;
  std::int64_t _entry = 0;  // of the decoder's list: what it was given last
  std::uint64_t _lastRequest = 0;
  bool _hasPlayed = false;
  bool _isCounting = false;                           // what it was given last plays
  std::optional<Time> _gap;                           // since when nothing does, where that counts
  std::map<std::uint64_t, PictureRequest> _pictures;  // asked of the decoder

  // guarded by _mutex; under it the queue's is taken
  mutable std::mutex _mutex;
  std::unique_ptr<MpvCore> _core;  // made, used and destroyed by the thread; others wake it
  PlayerWishes _wishes;
  std::vector<PictureRequest> _wantedPictures;
  double _position = 0;  // seconds
  Report _report;
  bool _isOver = false;

  std::thread _thread;
};

}  // namespace durix
