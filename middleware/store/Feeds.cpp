#include "middleware/store/Feeds.h"

#include <array>
#include <cstdio>

#include "middleware/portability/Text.h"

namespace durix {
namespace {

constexpr std::uint8_t TELETEXT_SUBTITLES = 2;
constexpr std::uint8_t TELETEXT_HARD_OF_HEARING = 5;

Feed componentFeed(const Component& component, std::int32_t type, const std::string& language) {
  Feed feed;
  feed.type = type;
  feed.pid = component.pid;
  feed.streamType = component.streamType;
  feed.tag = component.tag ? *component.tag : -1;
  feed.language = lowerCase(language);
  return feed;
}

std::string mainLanguage(const Component& component) {
  const auto languages = languagesOf(component);
  return languages.empty() ? std::string() : languages.front();
}

void addAudio(std::vector<Feed>& feeds, const Component& component) {
  Feed feed = componentFeed(component, DURIX_FEED_AUDIO, mainLanguage(component));
  const bool isAc3 = component.kind == StreamKind::Ac3 || component.kind == StreamKind::Eac3;
  if (isAc3) feed.contentType = DURIX_FEED_CONTENT_AC3;
  feeds.push_back(std::move(feed));
}

// Subtitles of both kinds: pictures, and pages of teletext.
void addSubtitles(std::vector<Feed>& feeds, const Component& component) {
  for (const auto& entry : component.subtitles) {
    Feed feed = componentFeed(component, DURIX_FEED_SUBTITLES, entry.language);
    feed.page = entry.compositionPage;
    feeds.push_back(std::move(feed));
  }
  for (const auto& entry : component.teletext) {
    if (entry.type != TELETEXT_SUBTITLES && entry.type != TELETEXT_HARD_OF_HEARING) continue;
    Feed feed = componentFeed(component, DURIX_FEED_SUBTITLES, entry.language);
    feed.page = entry.page;
    feeds.push_back(std::move(feed));
  }
}

}  // namespace

std::vector<Feed> feedsOf(std::span<const Component> components) {
  std::vector<Feed> feeds(1);  // the guide data
  for (const auto& component : components) {
    if (isVideo(component.kind)) feeds.push_back(componentFeed(component, DURIX_FEED_VIDEO, {}));
  }
  for (const auto& component : components) {
    if (isAudio(component.kind)) addAudio(feeds, component);
  }
  for (const auto& component : components) addSubtitles(feeds, component);
  for (const auto& component : components) {
    if (component.kind == StreamKind::Teletext) {
      feeds.push_back(componentFeed(component, DURIX_FEED_TELETEXT, mainLanguage(component)));
    }
  }
  return feeds;
}

std::string uriOf(const StoredService& service, const Feed& feed) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "dvb://%04x.%04x.%04x", service.originalNetworkId, service.transportStreamId,
                service.serviceId);
  std::string uri = text.data();
  if (feed.type == FEED_GUIDE_DATA) return uri;
  if (feed.tag >= 0) {
    std::snprintf(text.data(), text.size(), ".%02x", static_cast<unsigned>(feed.tag));
  } else {
    std::snprintf(text.data(), text.size(), "#pid=%u", static_cast<unsigned>(feed.pid));
  }
  return uri + text.data();
}

}  // namespace durix
