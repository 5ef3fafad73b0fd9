#include "middleware/player/TrackPlan.h"

#include <algorithm>
#include <array>

#include "middleware/si/DescriptorTags.h"
#include "middleware/si/Descriptors.h"

namespace durix {
namespace {

constexpr std::size_t SUBTITLING_ENTRY = 8;  // bytes of an entry (EN 300 468, 6.2.41 and 6.2.43)
constexpr std::size_t TELETEXT_ENTRY = 5;

// Where components go in the stream. A programme's clock that has a PID of its own keeps it, so there is another place.
struct Place {
  std::uint16_t first = 0x100;
  std::uint16_t pmt() const { return first; }
  std::uint16_t of(std::int32_t type) const { return static_cast<std::uint16_t>(first + type); }
  bool contains(std::uint16_t pid) const { return pid >= first && pid < first + 0x10; }
};
constexpr Place USUAL{0x100};
constexpr Place OTHER{0x200};

// The kinds of feeds of recordings are played as those of services.
std::int32_t playedType(std::int32_t type) {
  switch (type) {
    case DURIX_FEED_VIDEO_SECOND:
      return DURIX_FEED_VIDEO;
    case DURIX_FEED_AUDIO_SECOND:
      return DURIX_FEED_AUDIO;
    case DURIX_FEED_SUBTITLES_SECOND:
    case DURIX_FEED_SUBTITLES_THIRD:
    case DURIX_FEED_SUBTITLES_FOURTH:
      return DURIX_FEED_SUBTITLES;
    default:
      return type;
  }
}

bool canBe(std::int32_t type, StreamKind kind) {
  if (type == DURIX_FEED_VIDEO) return isVideo(kind);
  if (type == DURIX_FEED_AUDIO) return isAudio(kind);
  return kind == StreamKind::DvbSubtitle || kind == StreamKind::Teletext;
}

const Component* componentOf(const Program& program, const Feed& feed) {
  const auto isIt = [&](const Component& one) { return one.pid == feed.pid && canBe(playedType(feed.type), one.kind); };
  const auto found = std::find_if(program.components.begin(), program.components.end(), isIt);
  return found == program.components.end() ? nullptr : &*found;
}

std::uint16_t teletextPage(std::uint8_t magazine, std::uint8_t digits) {
  const unsigned number = magazine & 0x07U;
  return static_cast<std::uint16_t>((number == 0 ? 8U : number) << 8U | digits);
}

// The entry's page, as feeds have it.
std::uint16_t pageOf(std::uint8_t tag, std::span<const std::uint8_t> entry) {
  if (tag == TELETEXT_DESCRIPTOR) return teletextPage(entry[3], entry[4]);
  return static_cast<std::uint16_t>(entry[4] << 8U | entry[5]);
}

std::string lower(std::span<const std::uint8_t> letters) {
  std::string text(letters.begin(), letters.end());
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

void append(std::vector<std::uint8_t>& bytes, std::uint8_t tag, std::span<const std::uint8_t> data) {
  bytes.push_back(tag);
  bytes.push_back(static_cast<std::uint8_t>(data.size()));
  bytes.insert(bytes.end(), data.begin(), data.end());
}

// The descriptors with the chosen entry alone where there are several.
std::vector<std::uint8_t> narrowed(const Component& component, const Feed& feed) {
  std::vector<std::uint8_t> bytes;
  for (const auto& descriptor : readDescriptors(component.descriptors)) {
    const bool isTeletext = descriptor.tag == TELETEXT_DESCRIPTOR;
    if (!isTeletext && descriptor.tag != SUBTITLING_DESCRIPTOR) {
      append(bytes, descriptor.tag, descriptor.data);
      continue;
    }
    const std::size_t size = isTeletext ? TELETEXT_ENTRY : SUBTITLING_ENTRY;
    for (auto rest = descriptor.data; rest.size() >= size; rest = rest.subspan(size)) {
      const auto entry = rest.first(size);
      if (lower(entry.first(3)) != feed.language || pageOf(descriptor.tag, entry) != feed.page) continue;
      append(bytes, descriptor.tag, entry);
      break;
    }
  }
  return bytes;
}

std::string shapeOf(const PlayedTrack& track, const Component& component) {
  std::string shape = std::to_string(track.type) + ':' + std::to_string(component.streamType) + ':' +
                      std::to_string(static_cast<int>(component.kind));
  // The decoder of subtitles looks for the page that it began with.
  if (track.type == DURIX_FEED_SUBTITLES) shape += ':' + std::to_string(track.page);
  return shape + ' ';
}

void addTrack(TrackPlan& plan, const Component& component, const Feed& feed, const Place& place) {
  const PlayedTrack track{playedType(feed.type), component.pid, component.kind, feed.language, feed.page};
  Component announced = component;
  if (track.type == DURIX_FEED_SUBTITLES) announced.descriptors = narrowed(component, feed);
  plan.contents.parts.push_back({announced, place.of(track.type)});
  plan.shape += shapeOf(track, component);
  plan.tracks.push_back(track);
}

const Feed* lastOf(std::span<const ChosenFeed> feeds, std::int32_t type) {
  const auto isIt = [&](const ChosenFeed& one) { return playedType(one.feed.type) == type; };
  const auto last = std::find_if(feeds.rbegin(), feeds.rend(), isIt);
  return last == feeds.rend() ? nullptr : &last->feed;
}

}  // namespace

const PlayedTrack* TrackPlan::find(std::int32_t type) const {
  const auto found = std::ranges::find(tracks, type, &PlayedTrack::type);
  return found == tracks.end() ? nullptr : &*found;
}

const Feed* subtitlesOf(std::span<const ChosenFeed> feeds) {
  return lastOf(feeds, DURIX_FEED_SUBTITLES);
}

TrackPlan planTracks(const Program& program, std::span<const ChosenFeed> feeds) {
  TrackPlan plan;
  const Place place = USUAL.contains(program.pcrPid) ? OTHER : USUAL;
  plan.contents = {
      .number = program.number, .pcrPid = program.pcrPid, .pmtPid = place.pmt(), .descriptors = program.descriptors};
  plan.shape = std::to_string(place.first) + ' ';
  for (const std::int32_t type : {DURIX_FEED_VIDEO, DURIX_FEED_AUDIO, DURIX_FEED_SUBTITLES}) {
    const Feed* const feed = lastOf(feeds, type);
    if (feed == nullptr) continue;
    if (const auto* component = componentOf(program, *feed)) addTrack(plan, *component, *feed, place);
  }
  plan.hasAll =
      std::ranges::all_of(feeds, [&](const ChosenFeed& one) { return componentOf(program, one.feed) != nullptr; });
  return plan;
}

}  // namespace durix
