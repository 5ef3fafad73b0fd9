#include "middleware/recordings/RecordingComponents.h"

#include <algorithm>
#include <fstream>
#include <optional>

#include "middleware/si/SectionAssembler.h"
#include "middleware/si/TableReaders.h"
#include "middleware/store/Feeds.h"

namespace durix {
namespace {

// The tables come ten times a second: this is enough of any stream.
constexpr std::uint64_t PART = PACKET_SIZE * 20000;

class TableLook {
 public:
  explicit TableLook(std::vector<Component>& components)
      : _components(components), _pat([this](const Section& section) { takePat(section); }) {}

  void feed(const PacketView& packet) {
    if (packet.pid() == 0) _pat.feed(packet);
    if (_pmt && packet.pid() == _pmtPid) _pmt->feed(packet);
  }

 private:
  void takePat(const Section& section) {
    if (section.tableId() != PAT_TABLE || !section.isCurrent()) return;
    const auto programmes = readPat(section);
    if (programmes.empty() || (_pmt && programmes.front().second == _pmtPid)) return;
    _pmtPid = programmes.front().second;
    _pmt.emplace([this](const Section& table) { takePmt(table); });
  }

  void takePmt(const Section& section) {
    if (section.tableId() != PMT_TABLE || !section.isCurrent()) return;
    for (auto& component : readPmt(section, _pmtPid).components) {
      const auto isSame = [&](const Component& known) {
        return known.pid == component.pid && known.streamType == component.streamType &&
               known.descriptors == component.descriptors;
      };
      if (std::ranges::none_of(_components, isSame)) _components.push_back(std::move(component));
    }
  }

  std::vector<Component>& _components;
  SectionAssembler _pat;
  std::uint16_t _pmtPid = NULL_PID;
  std::optional<SectionAssembler> _pmt;
};

void look(std::ifstream& stream, std::uint64_t from, std::vector<Component>& components) {
  stream.clear();
  stream.seekg(static_cast<std::streamoff>(from));
  std::vector<std::uint8_t> bytes(PART);
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  std::span<const std::uint8_t> rest(bytes.data(), static_cast<std::size_t>(stream.gcount()));
  TableLook tables(components);
  for (; rest.size() >= PACKET_SIZE; rest = rest.subspan(PACKET_SIZE)) {
    tables.feed(PacketView(rest.first<PACKET_SIZE>()));
  }
}

}  // namespace

std::vector<Component> componentsOf(const std::filesystem::path& recording) {
  std::vector<Component> components;
  std::error_code error;
  const auto size = std::filesystem::file_size(recording, error);
  std::ifstream stream(recording, std::ios::binary);
  if (error || !stream) return components;
  look(stream, 0, components);
  if (size > PART) look(stream, (size - PART) / PACKET_SIZE * PACKET_SIZE, components);
  return components;
}

std::vector<Feed> recordedFeeds(std::span<const Component> components) {
  std::vector<Feed> feeds;
  for (auto& feed : feedsOf(components)) {
    switch (feed.type) {
      case DURIX_FEED_VIDEO:
        feed.type = DURIX_FEED_VIDEO_SECOND;
        break;
      case DURIX_FEED_AUDIO:
        feed.type = DURIX_FEED_AUDIO_SECOND;
        break;
      case DURIX_FEED_SUBTITLES:
        feed.type = DURIX_FEED_SUBTITLES_SECOND;
        break;
      default:
        continue;
    }
    feeds.push_back(std::move(feed));
  }
  return feeds;
}

}  // namespace durix
