#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "apps/broadcaster/Programmes.h"
#include "apps/broadcaster/media/Picture.h"
#include "apps/broadcaster/si/Text.h"

namespace broadcaster {

/// Kinds of services as EN 300 468 table 87 numbers them.
enum class ServiceType : std::uint8_t {
  Television = 0x01,
  Radio = 0x02,
  Data = 0x0C,
  HdMpeg2 = 0x11,
  SdH264 = 0x16,
  HdH264 = 0x19,
};

enum class VideoCodec { Mpeg2, H264 };
enum class Pattern { Bars, Grid, Sunset, Waves };

struct Video {
  VideoCodec codec = VideoCodec::Mpeg2;
  int width = 0;  // pixels; shown as 16:9
  int height = 0;
  int bitRate = 0;  // bits per second, on average and at most
  Pattern pattern = Pattern::Bars;
  Colour tint{};  // of the patterns but the bars
};

enum class AudioCodec { Mpeg1, Ac3 };

struct Audio {
  std::string_view language;  // ISO 639-2
  double pitch = 0;           // Hz, of the lowest note
  bool melody = false;        // a tune, else one note
  AudioCodec codec = AudioCodec::Mpeg1;
};

/// One service of a multiplex: what is signalled and what is shown.
struct Service {
  std::uint16_t id = 0;
  ServiceType type = ServiceType::Television;
  std::uint16_t number = 0;  // logical channel number
  std::string_view name;     // UTF-8; sent in `charset`, as are the programmes
  Charset charset = Charset::Iso6937;
  std::string_view language;   // ISO 639-2, of the programmes
  std::string_view caption{};  // drawn into the pictures, in the letters that the built-in font has
  std::optional<Video> video{};
  std::vector<Audio> audio{};
  std::vector<std::string_view> subtitles{};  // languages of DVB subtitles
  bool hasTeletext = false;                   // in the service's language
  bool relocates = false;                     // gets other packet identifiers in the middle of each file
  std::span<const Programme> programmes{};
  bool isProtected = false;  // says that it is; nothing is scrambled
  bool visible = true;       // in lists of channels
};

struct Multiplex {
  std::uint32_t frequency = 0;  // Hz
  std::uint16_t transportStream = 0;
  std::int64_t bitRate = 0;  // bits per second; smaller than a real channel's, so that files stay small
  std::vector<Service> services;
};

struct Network {
  std::uint16_t id = 0;          // network and original network
  std::string_view name;         // ASCII, as `provider`
  std::string_view provider;     // of every service
  std::string_view countryCode;  // ISO 3166, three letters
  std::vector<Multiplex> multiplexes;
};

/// The sample broadcast. Without an H.264 encoder the services that would use it are in MPEG-2, and say so.
Network sampleNetwork(bool canEncodeH264);

/// Packet identifiers of the service at `index` of its multiplex: sixteen each.
struct ServicePids {
  explicit ServicePids(std::size_t index) : pmt(static_cast<std::uint16_t>(0x100 + 16 * index)) {}

  [[nodiscard]] std::uint16_t video() const { return at(1); }
  [[nodiscard]] std::uint16_t audio(std::size_t track) const { return at(2 + track); }      // four at most
  [[nodiscard]] std::uint16_t subtitles(std::size_t track) const { return at(6 + track); }  // two
  [[nodiscard]] std::uint16_t entitlements() const { return at(8); }
  [[nodiscard]] std::uint16_t data() const { return at(9); }
  [[nodiscard]] std::uint16_t teletext() const { return at(10); }
  [[nodiscard]] std::uint16_t laterVideo() const { return at(11); }  // of a service that relocates
  [[nodiscard]] std::uint16_t laterAudio(std::size_t track) const { return at(12 + track); }

  std::uint16_t pmt;

 private:
  [[nodiscard]] std::uint16_t at(std::size_t place) const { return static_cast<std::uint16_t>(pmt + place); }
};

}  // namespace broadcaster
