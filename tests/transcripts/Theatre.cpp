#include "Theatre.h"

#include <thread>
#include <utility>

#include "FFPic.h"
#include "ServiceImpl.h"
#include "playback/SharedVolume.h"
#include "velmora/Option.h"
#include "velmora/Velmora.h"

namespace {

void* const WINDOW = reinterpret_cast<void*>(7);

}  // namespace

void Screen::imageReceived(FFPic* picture) {
  tell("> picture " + std::to_string(picture->width));
}

void Screen::tell(const std::string& call) {
  _stage.note(call);
  if (const auto work = std::exchange(onCall, nullptr)) work();
}

std::string hostProperty(const std::string& name) {
  return Velmora::getInstance()->getProperty(name);
}

void setHostProperty(const std::string& name, const std::string& value) {
  Velmora::getInstance()->setProperty(name, value);
}

Theatre::Theatre() {
  shared_volume::storeMute(false);
  shared_volume::storeVolume(60);
  shared_volume::setVolume(55);  // what players set last is another thing than what the host says
  stage.addProvider(1);
  stage.addService(ONE, "One", AvContent::STREAM_TV, 1);
  stage.addService(TWO, "Two", AvContent::STREAM_TV, 2);
}

Theatre::~Theatre() {
  protectChildren(false);
}

void Theatre::open() {
  plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin());
  stage.receiverOn();
  std::size_t asked = 0;
  while (asked < stage.services.size()) {
    for (const std::string& line : stage.takeOfOtherThreads()) {
      const bool isThrough =
          line.ends_with("has no programs") || line.starts_with("INFO ServiceImpl programs sort END");
      if (isThrough) ++asked;
    }
    std::this_thread::yield();
  }
  stage.drop();
}

void Theatre::give(std::uint32_t content, const std::vector<Feed>& feeds) {
  const std::scoped_lock lock(stage.world);
  stage.feeds[content].clear();
  for (const Feed& feed : feeds) {
    stage.feeds[content].push_back({3, feed.id, 0});
    stage.numbers[{feed.id, DURIX_ATTRIBUTE_FEED_TYPE}] = feed.type;
    stage.texts[{feed.id, DURIX_ATTRIBUTE_LANGUAGE}] = feed.language;
    stage.numbers[{feed.id, DURIX_ATTRIBUTE_FEED_CONTENT_TYPE}] = feed.contentType;
  }
}

Service* Theatre::channel(std::uint32_t id) const {
  for (Service* const service : plugin->getServices()) {
    if (service->getId() == id) return service;
  }
  return nullptr;
}

void Theatre::protectChildren(bool enabled) {
  for (const OptionGroup* const group : Velmora::getInstance()->getOptions()) {
    const auto* const parental = dynamic_cast<OptionGroup*>(group->getOption("velmora.option.parentalcontrol.id"));
    if (parental != nullptr) parental->getOption("velmora.option.parentalcontrol.enabled.id")->setValue(enabled);
  }
}

std::unique_ptr<Player> Theatre::create(AvContent* content) {
  return std::unique_ptr<Player>(plugin->createPlayer(content, WINDOW, &screen));
}

std::unique_ptr<Player> Theatre::createTeletext(AvContent* content) {
  return std::unique_ptr<Player>(plugin->createTeletextPlayer(content, WINDOW, &screen));
}

Player* Theatre::createSecondary(AvContent* content) {
  return plugin->createSecondaryPlayer(content, WINDOW, &screen);
}

void Theatre::send(std::uint32_t event, std::uintptr_t player) {
  const std::size_t offset =
      event == DURIX_PLAYER_EVENT_END_OF_MEDIA ? DURIX_OFFSET_PLAYER_END_OF_MEDIA_HANDLE : DURIX_OFFSET_PLAYER_HANDLE;
  stage.deliver(Event(event).put(offset, ScriptedMiddleware::playerOf(player)));
}

void Theatre::changeFeeds(std::uint32_t service, std::uint32_t state) {
  stage.deliver(Event(DURIX_EVENT_FEEDS_CHANGED)
                    .put(DURIX_OFFSET_FEEDS_CHANGED_STATE, state)
                    .put(DURIX_OFFSET_FEEDS_CHANGED_SERVICE, service));
}

std::string Theatre::lines() {
  Lines lines = stage.take();
  std::erase_if(lines, [](const std::string& line) {
    const bool isFeedKind = line.ends_with(".26)") || line.ends_with(".49)");
    const bool isChannelList = line.find("services") != std::string::npos && !line.starts_with(">");
    return isFeedKind || isChannelList || line.starts_with("durix_attribute_get_array_int") ||
           line.find("service_order.dat") != std::string::npos;
  });
  return asText(lines);
}

Option* Theatre::setting(const std::string& name) const {
  return plugin->getOptions()->front()->getOption("settings.option.id." + name);
}

void Theatre::prefer(const std::string& audio, const std::string& subtitles, bool multichannel) {
  setting("audio.language")->setValue(audio);
  setting("subtitle.language")->setValue(subtitles);
  Option option;  // the host's
  option.init(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, "", "settings.option.id.prefer.multichannel.audio", "", false);
  option.setValue(multichannel);
  plugin->optionChanged(&option);
  stage.drop();
}

void Theatre::enableSubtitles(bool enabled) {
  setting("enable.subtitles")->setValue(enabled);
  stage.drop();
}
