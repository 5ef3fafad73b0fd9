#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace durix {

/// What an elementary stream carries, by its stream type and descriptors.
enum class StreamKind : std::uint8_t {
  Mpeg1Video,
  Mpeg2Video,
  Mpeg4Video,
  H264,
  Hevc,
  Vvc,
  Mpeg1Audio,
  Mpeg2Audio,
  AacAdts,
  AacLatm,
  Ac3,
  Eac3,
  Ac4,
  Dts,
  Teletext,
  DvbSubtitle,
  Data,
};

bool isVideo(StreamKind kind);
bool isAudio(StreamKind kind);

/// An entry of the ISO 639 language descriptor (ISO/IEC 13818-1, 2.6.18). The code is as sent: three letters of any
/// case.
struct StreamLanguage {
  std::string code{};
  std::uint8_t audioType = 0;  // 1 clean effects, 2 hearing impaired, 3 visual impaired commentary
};

/// An entry of the teletext descriptor (EN 300 468, 6.2.43).
struct TeletextEntry {
  std::string language{};
  std::uint8_t type = 0;   // 1 initial page, 2 subtitles, 3 information, 4 schedule, 5 hearing impaired subtitles
  std::uint16_t page = 0;  // as written, hexadecimal digits: 0x100 to 0x8FF
};

/// An entry of the subtitling descriptor (EN 300 468, 6.2.41).
struct SubtitleEntry {
  std::string language{};
  std::uint8_t type = 0;  // component type for stream content 3: 0x10 to 0x15 normal, 0x20 to 0x25 hearing impaired
  std::uint16_t compositionPage = 0;
  std::uint16_t ancillaryPage = 0;
};

/// The supplementary audio descriptor (EN 300 468, 6.4.11).
struct SupplementaryAudio {
  bool isComplete = false;          // mixed already, not to be mixed by the receiver
  std::uint8_t classification = 0;  // 0 main, 1 audio description, 2 clean audio, 3 spoken subtitles
  std::string language{};           // empty when not given
};

struct CaSystem {
  std::uint16_t systemId = 0;
  std::uint16_t pid = 0;
};

/// One elementary stream of a programme.
struct Component {
  std::uint16_t pid = 0;
  std::uint8_t streamType = 0;  // ISO/IEC 13818-1, table 2-34
  StreamKind kind = StreamKind::Data;
  std::optional<std::uint8_t> tag{};
  std::vector<StreamLanguage> languages{};
  std::vector<TeletextEntry> teletext{};
  std::vector<SubtitleEntry> subtitles{};
  std::optional<SupplementaryAudio> supplementaryAudio{};
  std::optional<std::uint8_t> audioComponentType{};  // of the AC-3 or enhanced AC-3 descriptor (EN 300 468, annex D)
  std::vector<CaSystem> caSystems{};
  std::vector<std::uint8_t> descriptors{};  // as sent
};

/// The languages of a component by its language, teletext and subtitling descriptors, each once, in that order. The
/// supplementary audio descriptor's is apart: it names the spoken language where the code is qad or qaa.
std::vector<std::string> languagesOf(const Component& component);

/// A programme as its PMT describes it.
struct Program {
  std::uint16_t number = 0;
  std::uint16_t pmtPid = 0;
  std::uint8_t version = 0;
  std::uint16_t pcrPid = 0x1FFF;  // this PID: none
  std::vector<CaSystem> caSystems{};
  std::vector<Component> components{};
  std::vector<std::uint8_t> descriptors{};  // of the programme as a whole, as sent
};

}  // namespace durix
