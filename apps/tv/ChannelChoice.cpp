#include "ChannelChoice.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "Failure.h"
#include "Text.h"
#include "velmora/Service.h"

namespace tv {
namespace {

constexpr std::size_t MOST_CANDIDATES = 8;

template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
  Number number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
  return number;
}

template <typename Fits>
std::vector<std::size_t> placesOf(const std::vector<ChannelKey>& channels, Fits fits) {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < channels.size(); ++i) {
    if (fits(channels[i])) places.push_back(i);
  }
  return places;
}

[[noreturn]] void refuseAmbiguous(const std::string& text, const std::vector<ChannelKey>& channels,
                                  const std::vector<std::size_t>& places) {
  std::string candidates;
  for (std::size_t i = 0; i < std::min(places.size(), MOST_CANDIDATES); ++i) {
    const ChannelKey& channel = channels[places[i]];
    candidates += (i > 0 ? ", #" : "#") + std::to_string(channel.id) + " \"" + channel.name + "\"";
  }
  if (places.size() > MOST_CANDIDATES) candidates += ", ...";
  throw UsageError("\"" + text + "\" names " + std::to_string(places.size()) +
                   " channels; say which by #ID: " + candidates);
}

[[noreturn]] void refuseUnknown(const std::string& text, const std::vector<ChannelKey>& channels) {
  std::vector<std::string> names;
  names.reserve(channels.size());
  for (const ChannelKey& channel : channels) names.push_back(channel.name);
  const std::vector<std::string> near = nearNames(text, names);
  throw UsageError("there is no channel \"" + text + "\"; " +
                   (near.empty() ? "\"tv channels\" lists what there is" : "is it " + quotedList(near) + "?"));
}

}  // namespace

std::vector<ChannelKey> channelKeys(const std::vector<Service*>& services) {
  std::vector<ChannelKey> keys;
  keys.reserve(services.size());
  for (Service* service : services) keys.push_back({service->getId(), service->getChannelNumber(), service->getName()});
  return keys;
}

std::size_t chooseChannel(const std::string& text, const std::vector<ChannelKey>& channels) {
  const std::optional<int> number = wholeNumber<int>(text);
  std::vector<std::size_t> numbered;
  if (number && *number > 0) {
    numbered = placesOf(channels, [&](const ChannelKey& channel) { return channel.number == *number; });
    if (numbered.size() == 1) return numbered.front();
  }
  const std::vector<std::size_t> named =
      placesOf(channels, [&](const ChannelKey& channel) { return channel.name == text; });
  if (named.size() == 1) return named.front();
  if (text.starts_with('#')) {
    const std::optional<unsigned> id = wholeNumber<unsigned>(std::string_view(text).substr(1));
    const std::vector<std::size_t> identified =
        placesOf(channels, [&](const ChannelKey& channel) { return id && channel.id == *id; });
    if (!identified.empty()) return identified.front();
  }
  if (!named.empty()) refuseAmbiguous(text, channels, named);
  if (!numbered.empty()) refuseAmbiguous(text, channels, numbered);
  refuseUnknown(text, channels);
}

}  // namespace tv
