#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "velmora/BroadcastPlugin.h"

namespace tv {

/// What `play` was asked for.
struct PlayWish {
  std::string channel, programme, recording;
  std::optional<int> seconds, volume;
  std::string audio, subtitles, picture, save;
  bool mute = false, window = false, multichannel = false;
};

/// Throws UsageError when it is not one thing that is to be played.
void checkPlayWish(const PlayWish& wish);

/// What is to be played, and the channels to go on to from there.
struct PlayChoice {
  AvContent* content = nullptr;
  std::vector<Service*> channels;
  std::size_t place = 0;  // of the channel that plays
};

/// Channels are held; `timeShift` is a recording too, null without. Throws UsageError for what there is not, Failure
/// for a programme that is not on air.
PlayChoice choosePlay(BroadcastPlugin& plugin, Recording* timeShift, const PlayWish& wish);

/// Behind a language whose sound has several channels.
inline constexpr const char* AC3_SUFFIX = " / AC-3";

/// Whether a language that is there is the wanted one, by either of its codes; the kind of sound counts when it is
/// given.
bool isLanguage(const std::string& there, const std::string& wanted);

/// Without those that are there again: by its name the first is meant.
std::vector<std::string> differentLanguages(const std::vector<std::string>& languages);

/// The next different language after the selected one; empty when there is no other.
std::string nextLanguage(const std::vector<std::string>& languages, const std::string& selected);

}  // namespace tv
