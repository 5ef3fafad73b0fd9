#include "middleware/recorder/CleanStart.h"

#include <algorithm>
#include <chrono>

namespace durix {
namespace {

// Key frames come more often, where there are any. A clock that is not in so many packets is none: with the picture,
// its clock may be away, and what is left may be few packets a second.
constexpr std::chrono::seconds LONGEST_WAIT{5};
constexpr std::uint32_t MOST_WITHOUT_CLOCK = 4'000;  // packets of the programme
constexpr std::size_t ADAPTATION_FLAGS = 5;
constexpr std::uint8_t RANDOM_ACCESS = 0x40;
constexpr std::uint8_t SEQUENCE_HEADER = 0xB3;  // ISO/IEC 13818-2, table 6-1

bool isRandomAccess(const PacketView& packet) {
  const auto bytes = packet.bytes();
  return packet.hasAdaptation() && bytes[4] > 0 && (bytes[ADAPTATION_FLAGS] & RANDOM_ACCESS) != 0;
}

// What follows a start code 00 00 01.
bool isKey(StreamKind kind, std::uint8_t code) {
  switch (kind) {
    case StreamKind::Mpeg1Video:
    case StreamKind::Mpeg2Video:
      return code == SEQUENCE_HEADER;
    case StreamKind::H264: {  // ITU-T H.264, table 7-1: a picture that depends on none, or the parameters before it
      const int type = code & 0x1F;
      return type == 5 || type == 7;
    }
    case StreamKind::Hevc: {  // ITU-T H.265, table 7-1: the same
      const int type = code >> 1 & 0x3F;
      return (type >= 16 && type <= 21) || (type >= 32 && type <= 33);
    }
    default:
      return false;
  }
}

}  // namespace

bool beginsKeyFrame(const PacketView& packet, StreamKind kind) {
  if (!packet.startsUnit()) return false;
  if (isRandomAccess(packet)) return true;
  const auto payload = packet.payload();
  for (std::size_t i = 3; i + 1 < payload.size(); ++i) {  // behind the start code of the unit itself
    if (payload[i - 3] == 0 && payload[i - 2] == 0 && payload[i - 1] == 1 && isKey(kind, payload[i])) return true;
  }
  return false;
}

void CleanStart::setContents(const ProgramStream::Contents& contents) {
  std::vector<std::pair<std::uint16_t, Part>> parts;
  std::optional<std::uint16_t> video;
  for (const auto& part : contents.parts) {
    const Part* const known = partOf(part.outPid);
    const bool isKnown = known != nullptr && known->kind == part.component.kind;
    parts.emplace_back(part.outPid, isKnown ? *known : Part{part.component.kind, false});
    if (isVideo(part.component.kind) && !video) video = part.outPid;
  }
  const bool isVideoNew = video && (partOf(*video) == nullptr || !partOf(*video)->isOpen);
  _parts = std::move(parts);
  _tablePid = contents.pmtPid;
  _video = isVideoNew ? video : std::nullopt;
  _waited = 0;
  _clock = StreamClock();
}

void CleanStart::restart() {
  _waited = 0;
  _clock = StreamClock();
  _video.reset();
  for (auto& [pid, part] : _parts) {
    part.isOpen = false;
    if (isVideo(part.kind) && !_video) _video = pid;
  }
}

void CleanStart::restart(std::uint16_t pid) {
  if (Part* const part = partOf(pid)) part->isOpen = false;
}

CleanStart::Part* CleanStart::partOf(std::uint16_t pid) {
  const auto found = std::ranges::find_if(_parts, [&](const auto& entry) { return entry.first == pid; });
  return found == _parts.end() ? nullptr : &found->second;
}

bool CleanStart::lets(const PacketView& packet) {
  const std::uint16_t pid = packet.pid();
  if (pid == 0 || pid == _tablePid) return true;
  Part* const part = partOf(pid);
  if (_video) {
    _clock.feed(packet);
    const auto elapsed = _clock.elapsed();
    const bool isPatient = elapsed < LONGEST_WAIT && (++_waited < MOST_WITHOUT_CLOCK || elapsed.count() > 0);
    const bool isKeyFrame = pid == *_video && part != nullptr && beginsKeyFrame(packet, part->kind);
    if (isPatient && !isKeyFrame) return part != nullptr && part->isOpen;  // what goes on needs not wait
    _video.reset();
  }
  if (part == nullptr) return true;  // the clock alone
  if (!part->isOpen && packet.startsUnit()) part->isOpen = true;
  return part->isOpen;
}

}  // namespace durix
