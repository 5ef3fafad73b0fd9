#include "middleware/si/StreamKinds.h"

#include <algorithm>
#include <optional>
#include <string>

#include "middleware/si/DescriptorTags.h"

namespace durix {

namespace {
constexpr std::uint8_t PRIVATE_PES = 0x06;

std::optional<StreamKind> kindOfRegistration(std::span<const std::uint8_t> data) {
  if (data.size() < 4) return std::nullopt;
  const std::string identifier(data.begin(), data.begin() + 4);
  if (identifier == "AC-3") return StreamKind::Ac3;
  if (identifier == "EAC3") return StreamKind::Eac3;
  if (identifier == "AC-4") return StreamKind::Ac4;
  if (identifier == "HEVC") return StreamKind::Hevc;
  if (identifier.starts_with("DTS")) return StreamKind::Dts;
  return std::nullopt;
}

std::optional<StreamKind> kindOfDescriptor(const Descriptor& descriptor) {
  switch (descriptor.tag) {
    case TELETEXT_DESCRIPTOR:
    case VBI_TELETEXT_DESCRIPTOR:
      return StreamKind::Teletext;
    case SUBTITLING_DESCRIPTOR:
      return StreamKind::DvbSubtitle;
    case AC3_DESCRIPTOR:
      return StreamKind::Ac3;
    case ENHANCED_AC3_DESCRIPTOR:
      return StreamKind::Eac3;
    case DTS_DESCRIPTOR:
      return StreamKind::Dts;
    case AAC_DESCRIPTOR:
      return StreamKind::AacAdts;
    case REGISTRATION_DESCRIPTOR:
      return kindOfRegistration(descriptor.data);
    case EXTENSION_DESCRIPTOR:
      if (descriptor.data.empty()) return std::nullopt;
      if (descriptor.data[0] == AC4_EXTENSION) return StreamKind::Ac4;
      if (descriptor.data[0] == DTS_HD_EXTENSION) return StreamKind::Dts;
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

StreamKind kindOfPrivateStream(std::span<const Descriptor> descriptors) {
  for (const auto& descriptor : descriptors) {
    if (const auto kind = kindOfDescriptor(descriptor)) return *kind;
  }
  return StreamKind::Data;
}
}  // namespace

StreamKind kindOfStream(std::uint8_t streamType, std::span<const Descriptor> descriptors) {
  switch (streamType) {
    case 0x01:
      return StreamKind::Mpeg1Video;
    case 0x02:
      return StreamKind::Mpeg2Video;
    case 0x03:
      return StreamKind::Mpeg1Audio;
    case 0x04:
      return StreamKind::Mpeg2Audio;
    case PRIVATE_PES:
      return kindOfPrivateStream(descriptors);
    case 0x0F:
      return StreamKind::AacAdts;
    case 0x10:
      return StreamKind::Mpeg4Video;
    case 0x11:
      return StreamKind::AacLatm;
    case 0x1B:
      return StreamKind::H264;
    case 0x24:
      return StreamKind::Hevc;
    case 0x33:
      return StreamKind::Vvc;
    case 0x81:  // as ATSC A/52 assigns it; some DVB networks use it too
      return StreamKind::Ac3;
    case 0x87:
      return StreamKind::Eac3;
    default:
      return StreamKind::Data;
  }
}

bool isVideo(StreamKind kind) {
  return kind <= StreamKind::Vvc;
}

bool isAudio(StreamKind kind) {
  return kind >= StreamKind::Mpeg1Audio && kind <= StreamKind::Dts;
}

std::vector<std::string> languagesOf(const Component& component) {
  std::vector<std::string> languages;
  const auto add = [&](const std::string& code) {
    if (!code.empty() && std::ranges::find(languages, code) == languages.end()) languages.push_back(code);
  };
  for (const auto& entry : component.languages) add(entry.code);
  for (const auto& entry : component.teletext) add(entry.language);
  for (const auto& entry : component.subtitles) add(entry.language);
  return languages;
}

}  // namespace durix
