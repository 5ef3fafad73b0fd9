#include "playback/FeedChooser.h"

#include <functional>
#include <optional>

#include "BroadcastRecording.h"
#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "guide/EsgAttributes.h"
#include "support/Log.h"
#include "velmora/Velmora.h"

namespace feed_chooser {
namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLAYER"), "plugins/dvbt/src/BroadcastPlayer"};

const std::string AC3_SUFFIX = " / AC-3";
const std::string SEPARATOR = " / ";

std::uint32_t contentTypeOf(const durix_esg_object& feed) {
  return static_cast<std::uint32_t>(getIntAttribute(&feed, DURIX_ATTRIBUTE_FEED_CONTENT_TYPE));
}

bool isInLanguage(const durix_esg_object& feed, const std::string& language) {
  const std::string its = getStringAttribute(&feed, DURIX_ATTRIBUTE_LANGUAGE);
  if (its == language) return true;
  const std::string bibliographic = Velmora::getInstance()->getIso6392bFromIso6392t(language);
  return !bibliographic.empty() && bibliographic == its;
}

/// One pass: the first candidate in the language, else the first candidate.
std::optional<durix_esg_object> pass(const std::vector<durix_esg_object>& feeds, std::uint32_t type,
                                     const std::string& language,
                                     const std::function<bool(const durix_esg_object&)>& suits) {
  std::optional<durix_esg_object> first;
  for (const durix_esg_object& feed : feeds) {
    if (typeOf(feed) != type || !suits(feed)) continue;
    BC_INFO(LOG, "Feed type=%u found", type);
    if (!first) first = feed;
    if (!language.empty() && isInLanguage(feed, language)) return feed;
  }
  return first;
}

}  // namespace

std::uint32_t typeOf(const durix_esg_object& feed) {
  return static_cast<std::uint32_t>(getIntAttribute(&feed, DURIX_ATTRIBUTE_FEED_TYPE));
}

std::vector<durix_esg_object> feedsOf(AvContent* content) {
  if (auto* const service = dynamic_cast<ServiceImpl*>(content)) return service->getFeeds();
  if (auto* const program = dynamic_cast<ProgramImpl*>(content)) return program->getFeeds();
  if (auto* const recording = dynamic_cast<BroadcastRecording*>(content)) return recording->getFeeds();
  return {};
}

durix_esg_object findFeedType(const std::vector<durix_esg_object>& feeds, std::uint32_t type,
                              const std::string& language, std::uint32_t contentType) {
  std::optional<durix_esg_object> found;
  if (contentType != DURIX_FEED_CONTENT_ANY) {
    found = pass(feeds, type, language, [&](const auto& feed) { return contentTypeOf(feed) == contentType; });
  }
  const bool isAudio = type == DURIX_FEED_AUDIO || type == DURIX_FEED_AUDIO_SECOND;
  if (!found && isAudio && contentType != DURIX_FEED_CONTENT_AC3) {
    found = pass(feeds, type, language, [](const auto& feed) { return contentTypeOf(feed) != DURIX_FEED_CONTENT_AC3; });
  }
  if (!found) found = pass(feeds, type, language, [](const auto&) { return true; });
  return found.value_or(durix_esg_object{});
}

std::string shownAudioLanguage(const durix_esg_object& feed) {
  if (isEmpty(feed)) return {};
  const std::string language = getStringAttribute(&feed, DURIX_ATTRIBUTE_LANGUAGE);
  return contentTypeOf(feed) == DURIX_FEED_CONTENT_AC3 ? language + AC3_SUFFIX : language;
}

AudioWish audioWish(const std::string& shown) {
  const std::size_t cut = shown.find(SEPARATOR);
  if (cut == std::string::npos) return {shown, DURIX_FEED_CONTENT_ANY};
  const bool ac3 = shown.find(AC3_SUFFIX) != std::string::npos;
  return {shown.substr(0, cut), ac3 ? std::uint32_t{DURIX_FEED_CONTENT_AC3} : std::uint32_t{DURIX_FEED_CONTENT_ANY}};
}

}  // namespace feed_chooser
