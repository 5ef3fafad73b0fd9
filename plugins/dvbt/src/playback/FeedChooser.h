#pragma once

#include <string>
#include <vector>

#include "durix/durix.h"
#include "velmora/Content.h"

/// Feeds of content, and the choice among them. Keeps nothing; reads and logs in the contract's order.
namespace feed_chooser {

/// The feeds of a service, programme or recording; none for anything else.
std::vector<durix_esg_object> feedsOf(AvContent* content);

/// The feed of `type` (attribute 26) that suits best, or an empty record. A content type (attribute 49) above 0 is
/// looked for first; without the wish for AC-3, audio of another kind goes before it; then any of the type. Among those
/// the first in `language` (ISO 639-2, terminological or bibliographic) is taken, else the first.
durix_esg_object findFeedType(const std::vector<durix_esg_object>& feeds, std::uint32_t type,
                              const std::string& language, std::uint32_t contentType);

inline bool isEmpty(const durix_esg_object& feed) {
  return feed.kind == 0;
}

std::uint32_t typeOf(const durix_esg_object& feed);  // attribute 26

/// The feed's language as the host shows it: with " / AC-3" for multichannel audio. Empty for an empty record.
std::string shownAudioLanguage(const durix_esg_object& feed);

/// The language and the content type that a shown audio language stands for.
struct AudioWish {
  std::string language;
  std::uint32_t contentType;
};
AudioWish audioWish(const std::string& shown);

}  // namespace feed_chooser
