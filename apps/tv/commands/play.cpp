#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>

#include "Commands.h"
#include "Failure.h"
#include "GuideWait.h"
#include "Keys.h"
#include "PlayChoice.h"
#include "PlayWindow.h"
#include "Playing.h"
#include "Preferences.h"
#include "Session.h"
#include "Text.h"
#include "velmora/Service.h"
#include "velmora/Velmora.h"

namespace tv {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr seconds PICTURE_LIMIT{10};  // for a first picture
constexpr milliseconds TURN{50};
constexpr int LOUDEST = 100;
constexpr int VOLUME_STEP = 5;
constexpr int LONGEST = 7 * 24 * 3600;  // seconds
constexpr const char* VOLUME = "system.player_volume";
constexpr const char* MUTE = "system.player_mute";
constexpr const char* AUDIO_LANGUAGE = "settings.option.id.audio.language";
constexpr const char* SUBTITLE_LANGUAGE = "settings.option.id.subtitle.language";
constexpr const char* SUBTITLES = "settings.option.id.enable.subtitles";

std::string absolute(const std::string& path, const std::string& directory) {
  return path.empty() ? path : (std::filesystem::path(directory) / path).lexically_normal().string();
}

PlayChoice choose(Context& context, const PlayWish& wish) {
  if (!wish.programme.empty()) waitForGuide(context.session, context.output, context.interrupt);
  return choosePlay(context.session.plugin(), context.session.timeShift(), wish);
}

/// The command: what plays now, the window, the keys, and what comes of it.
class PlayCommand {
 public:
  PlayCommand(Context& context, const PlayWish& wish)
      : _context(context),
        _wish(wish),
        _held(context.session.waitForChannels(context.interrupt)),
        _choice(choose(context, wish)),
        _preferences(context.session.plugin(), context.session.library()),
        _picture(absolute(wish.picture, context.directory)),
        _save(absolute(wish.save, context.directory)) {}

  int run();

 private:
  void prefer();
  void begin(AvContent& content);
  void chooseSound();
  void stay();
  bool isOver();
  void takeKey(Key key);
  void changeVolume(int step);
  void changeLanguage(bool isAudio);
  void zap(bool isForward);
  void showStatus();
  void writePicture();
  Json result();
  void noteMissingLanguages();
  std::string playingText();
  void tellFiles();

  Context& _context;
  const PlayWish& _wish;
  const Session::ServicesHeld _held;
  PlayChoice _choice;
  Preferences _preferences;
  const std::string _picture, _save;
  std::unique_ptr<PlayWindow> _window;
  std::unique_ptr<Playing> _playing;
  std::unique_ptr<Keys> _keys;
  std::vector<std::string> _eventsBefore;  // of what played before
  steady_clock::time_point _started;
  bool _isPaused = false;
  bool _isQuit = false;
};

void PlayCommand::prefer() {
  Velmora& host = *Velmora::getInstance();
  if (_wish.volume) host.setProperty(VOLUME, std::to_string(*_wish.volume));
  if (host.getProperty(VOLUME).empty()) host.setProperty(VOLUME, std::to_string(LOUDEST));
  host.setProperty(MUTE, _wish.mute ? "true" : "false");
  if (_wish.multichannel) _preferences.preferMultichannel();
  if (!_wish.audio.empty()) _preferences.set(AUDIO_LANGUAGE, _wish.audio.substr(0, _wish.audio.find(" / ")));
  if (_wish.subtitles.empty()) return;
  _preferences.set(SUBTITLE_LANGUAGE, _wish.subtitles);
  _preferences.set(SUBTITLES, true);
}

void PlayCommand::begin(AvContent& content) {
  _playing.reset();
  _isPaused = false;
  _playing = std::make_unique<Playing>(_context.session, content, _window == nullptr ? nullptr : _window->handle());
  const bool isDoorNeeded = !_picture.empty() || !_save.empty();
  if (isDoorNeeded && !_playing->door().available()) {
    throw Failure("--picture and --save are not to be had with this middleware");
  }
  if (!_save.empty()) _playing->door().beginSaving(_save);
  if (_window != nullptr) {
    _window->setTitle(content.getName());
    _playing->player().setSize(_window->width(), _window->height());
  }
  _playing->start(_context.interrupt);
  _started = steady_clock::now();
  chooseSound();
  noteMissingLanguages();
  if (!_context.isAtTerminal) _context.output.message(playingText());
}

std::string PlayCommand::playingText() {
  Player& player = _playing->player();
  const std::string audio = player.getSelectedAudioLanguage();
  const std::string subtitles = player.getSelectedSubtitleLanguage();
  std::string text = "Playing \"" + _playing->content().getName() + "\"";
  if (!audio.empty()) text += ", sound " + audio;
  if (!subtitles.empty()) text += ", subtitles " + subtitles;
  return text;
}

/// What there is now that was not before.
void PlayCommand::tellFiles() {
  if (!_picture.empty()) _context.output.message("The picture is in \"" + _picture + "\"");
  if (!_save.empty()) _context.output.message("The stream is in \"" + _save + "\"");
}

/// The plugin prefers a kind of sound to a language. Whoever names a language means it.
void PlayCommand::chooseSound() {
  Player& player = _playing->player();
  const std::string selected = player.getSelectedAudioLanguage();
  if (_wish.audio.empty() || selected == _wish.audio || isLanguage(selected, _wish.audio)) return;
  const auto languages = player.getAudioLanguages();
  const auto found =
      std::ranges::find_if(languages, [&](const std::string& one) { return isLanguage(one, _wish.audio); });
  if (found != languages.end()) player.changeAudioLanguage(*found);
}

void PlayCommand::noteMissingLanguages() {
  Player& player = _playing->player();
  const auto note = [&](const char* what, const std::string& wanted, const std::vector<std::string>& there) {
    const auto isIt = [&](const std::string& one) { return isLanguage(one, wanted); };
    if (wanted.empty() || std::ranges::any_of(there, isIt)) return;
    const std::string others = there.empty() ? "" : ", but in " + quotedList(there, "and");
    _context.output.note("no " + std::string(what) + " in \"" + wanted + "\"" + others);
  };
  note("sound", _wish.audio, player.getAudioLanguages());
  note("subtitles", _wish.subtitles, player.getSubtitleLanguages());
}

int PlayCommand::run() {
  if (_wish.window) _window = std::make_unique<PlayWindow>(_choice.content->getName());
  prefer();
  std::optional<Failure> failure;
  try {
    begin(*_choice.content);
    if (_context.isAtTerminal) _keys = std::make_unique<Keys>();
    stay();
    if (!_picture.empty()) writePicture();
    if (!_save.empty()) _playing->door().endSaving();
    _context.output.endProgress();
    tellFiles();
  } catch (const Failure& reason) {
    failure = reason;
  }
  _keys.reset();
  _context.output.endProgress();
  const bool isInterrupted = _context.interrupt.raised();
  const bool isDoneAgain = _context.interrupt.raisedByParent();  // by the caller, and told of there
  if (_playing != nullptr && _context.output.json() && !isDoneAgain) _context.output.value(result());
  _playing.reset();
  if (failure) throw Failure(*failure);
  return isInterrupted ? EXIT_INTERRUPTED : EXIT_DONE;
}

void PlayCommand::stay() {
  while (!isOver()) {
    _playing->check();
    showStatus();
    if (_window != nullptr && _window->update()) _playing->player().setSize(_window->width(), _window->height());
    if (_keys == nullptr) {
      _context.interrupt.waitFor(TURN);
    } else if (const Key key = _keys->wait(TURN); key != Key::NONE) {
      takeKey(key);
    }
  }
}

bool PlayCommand::isOver() {
  const bool isLongEnough = _wish.seconds && steady_clock::now() - _started >= seconds(*_wish.seconds);
  const bool isClosed = _window != nullptr && _window->closed();
  return isLongEnough || isClosed || _isQuit || _context.interrupt.raised() || _playing->events().state().stopped ||
         !_context.output.good();
}

void PlayCommand::takeKey(Key key) {
  Player& player = _playing->player();
  switch (key) {
    case Key::VOLUME_UP:
      return changeVolume(VOLUME_STEP);
    case Key::VOLUME_DOWN:
      return changeVolume(-VOLUME_STEP);
    case Key::MUTE:
      player.setMute(!player.isMuted());
      return;
    case Key::PAUSE:
      _isPaused = !_isPaused;
      player.pause(_isPaused);
      return;
    case Key::AUDIO:
      return changeLanguage(true);
    case Key::SUBTITLES:
      return changeLanguage(false);
    case Key::NEXT:
      return zap(true);
    case Key::PREVIOUS:
      return zap(false);
    case Key::QUIT:
      _isQuit = true;
      return;
    case Key::NONE:
      return;
  }
}

void PlayCommand::changeVolume(int step) {
  Player& player = _playing->player();
  player.setVolume(static_cast<unsigned char>(std::clamp(player.getVolume() + step, 0, LOUDEST)));
}

/// The next language; behind the last one of subtitles there are none.
void PlayCommand::changeLanguage(bool isAudio) {
  Player& player = _playing->player();
  if (isAudio) {
    const std::string next = nextLanguage(player.getAudioLanguages(), player.getSelectedAudioLanguage());
    if (!next.empty()) player.changeAudioLanguage(next);
    return;
  }
  const auto languages = differentLanguages(player.getSubtitleLanguages());
  const std::string selected = player.getSelectedSubtitleLanguage();
  if (languages.empty()) return;
  if (selected.empty()) {
    _preferences.set(SUBTITLE_LANGUAGE, languages.front());
    _preferences.set(SUBTITLES, true);
    player.changeSubtitleLanguage(languages.front());
  } else if (selected == languages.back()) {
    _preferences.set(SUBTITLES, false);
  } else {
    player.changeSubtitleLanguage(nextLanguage(languages, selected));
  }
}

/// Channels that do not play now are passed over.
void PlayCommand::zap(bool isForward) {
  const std::size_t count = _choice.channels.size();
  if (count < 2) return;
  for (std::size_t tries = 1;; ++tries) {
    if (_playing != nullptr) {
      for (const std::string& name : _playing->events().names()) _eventsBefore.push_back(name);
    }
    _choice.place = (_choice.place + (isForward ? 1 : count - 1)) % count;
    try {
      return begin(*_choice.channels[_choice.place]);
    } catch (const Failure& failure) {
      if (failure.status() == EXIT_INTERRUPTED || tries == count) throw;
      _context.output.endProgress();
      _context.output.note(failure.what());
    }
  }
}

void PlayCommand::showStatus() {
  if (_keys == nullptr || !_keys->available()) return;
  Player& player = _playing->player();
  const unsigned position = player.getCurrentPos();
  char time[32];
  std::snprintf(time, sizeof time, "%u:%02u", position / 60, position % 60);
  std::string text = _playing->content().getName() + "  " + time;
  text += player.isMuted() ? "  muted" : "  volume " + std::to_string(player.getVolume());
  const std::string audio = player.getSelectedAudioLanguage();
  const std::string subtitles = player.getSelectedSubtitleLanguage();
  if (!audio.empty()) text += "  sound " + audio;
  if (!subtitles.empty()) text += "  subtitles " + subtitles;
  if (_isPaused) text += "  paused";
  _context.output.status(text);
}

void PlayCommand::writePicture() {
  const auto end = steady_clock::now() + PICTURE_LIMIT;
  while (!_playing->door().writePicture(_picture)) {
    const auto state = _playing->door().state();
    const bool hasVideo = state && std::ranges::any_of(state->tracks, [](const PlayerDoor::Track& track) {
                            return track.type == DURIX_FEED_VIDEO;
                          });
    if (!hasVideo && state) throw Failure("\"" + _playing->content().getName() + "\" has no picture to write");
    _playing->check();
    if (steady_clock::now() > end) throw Failure("no picture was shown yet: play longer, with --seconds");
    std::this_thread::sleep_for(TURN);
  }
}

std::string typeName(unsigned type) {
  return type == DURIX_FEED_VIDEO ? "video" : type == DURIX_FEED_AUDIO ? "audio" : "subtitles";
}

Json PlayCommand::result() {
  Player& player = _playing->player();
  std::vector<std::string> events = _eventsBefore;
  const std::string audio = player.getSelectedAudioLanguage();
  const std::string subtitles = player.getSelectedSubtitleLanguage();
  const unsigned position = player.getCurrentPos();
  const auto state = _playing->door().state();
  Json tracks = Json::array();
  for (const auto& track : state ? state->tracks : std::vector<PlayerDoor::Track>()) {
    tracks.push_back(
        {{"type", typeName(track.type)}, {"pid", track.pid}, {"codec", track.codec}, {"language", track.language}});
  }
  const bool isStarted = _playing->events().state().started;
  const auto audios = player.getAudioLanguages();
  const auto allSubtitles = player.getSubtitleLanguages();
  _playing->stop();
  for (const std::string& name : _playing->events().names()) events.push_back(name);
  Json value = {{"started", isStarted},   {"seconds", position},
                {"audio", audios},        {"subtitles", allSubtitles},
                {"selectedAudio", audio}, {"selectedSubtitles", subtitles},
                {"events", events},       {"name", _playing->content().getName()},
                {"tracks", tracks}};
  if (state) {
    value["width"] = state->width;
    value["height"] = state->height;
    value["dropped"] = state->dropped;
  }
  return value;
}

}  // namespace

void addPlayCommand(Syntax& app, Action& action) {
  auto wish = std::make_shared<PlayWish>();
  Syntax command = app.command("play", "Plays a channel, the channel of a programme, or a recording");
  command.optionalWord("CHANNEL", wish->channel, "A number, a name or #ID");
  command.option("--programme", wish->programme, "ID", "The channel of a programme that is on air now");
  command.option("--recording", wish->recording, "ID", "A recording");
  command.number("--seconds", wish->seconds, 1, LONGEST, "Ends after this time; else with q or Ctrl-C");
  command.option("--audio", wish->audio, "LANG", "Sound in this language, as in ita or \"ita / AC-3\"");
  command.option("--subtitles", wish->subtitles, "LANG", "Subtitles in this language");
  command.flag("--multichannel", wish->multichannel, "Sound of several channels (AC-3) where there is some");
  command.number("--volume", wish->volume, 0, LOUDEST, "0 to 100");
  command.flag("--mute", wish->mute, "Without sound");
  command.flag("--window", wish->window, "In a window on the desktop");
  command.option("--picture", wish->picture, "FILE.png", "Writes what is shown at the end");
  command.option("--save", wish->save, "FILE.ts", "Writes the stream as it is played");
  command.whenChosen([&action, wish] {
    checkPlayWish(*wish);
    action = [wish](Context& context) { return PlayCommand(context, *wish).run(); };
  });
}

}  // namespace tv
