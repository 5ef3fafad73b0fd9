#include "apps/broadcaster/Lineup.h"

namespace broadcaster {
namespace {

/// TS 101 162 leaves 0xFF01 and up to private and temporary networks.
constexpr std::uint16_t NETWORK_ID = 0xFF01;

constexpr Colour TEAL{20, 110, 120};
constexpr Colour SLATE{38, 70, 83};
constexpr Colour VIOLET{110, 60, 110};
constexpr Colour FOREST{40, 96, 60};
constexpr Colour AEGEAN{40, 110, 170};
constexpr Colour WINE{92, 34, 46};

Video sd(Pattern pattern, const Colour& tint, VideoCodec codec = VideoCodec::Mpeg2) {
  return {codec, 544, 576, 500'000, pattern, tint};
}

Multiplex first() {
  Multiplex multiplex{474'000'000, 1, 3'000'000, {}};
  multiplex.services = {
      {.id = 0x0101,
       .number = 101,
       .name = "Colour One",
       .language = "eng",
       .caption = "COLOUR ONE",
       .video = sd(Pattern::Bars, {}),
       .audio = {{"eng", 440.00, false}},
       .programmes = englishProgrammes()},
      {.id = 0x0102,
       .number = 2,
       .name = "Télé Rivière",
       .language = "fra",
       .caption = "TELE RIVIERE",
       .video = sd(Pattern::Waves, TEAL),
       .audio = {{"fra", 493.88, false}, {"eng", 739.99, false, AudioCodec::Ac3}},
       .subtitles = {"fra", "eng"},
       .hasTeletext = true,
       .programmes = frenchProgrammes()},
      {.id = 0x0103,
       .number = 3,
       .name = "Северный свет",
       .charset = Charset::Iso8859_5,
       .language = "rus",
       .caption = "SEVERNY SVET",
       .video = sd(Pattern::Grid, SLATE),
       .audio = {{"rus", 523.25, false}},
       .programmes = russianProgrammes()},
      {.id = 0x0104,
       .type = ServiceType::Radio,
       .number = 701,
       .name = "Rádio Příběh",
       .charset = Charset::Iso8859_2,
       .language = "ces",
       .audio = {{"ces", 261.63, true}},
       .programmes = czechRadioProgrammes()},
  };
  return multiplex;
}

Multiplex second(bool h264) {
  Multiplex multiplex{482'000'000, 2, 3'000'000, {}};
  const Video hd{h264 ? VideoCodec::H264 : VideoCodec::Mpeg2, 1280, 720, 1'000'000, Pattern::Bars, {}};
  multiplex.services = {
      // The same channel as on the first multiplex: one name, but here with marks for its short form, as on the air.
      {.id = 0x0201,
       .type = h264 ? ServiceType::HdH264 : ServiceType::HdMpeg2,
       .number = 1,
       .name = "\uE086Colour\uE087 One",
       .language = "eng",
       .caption = "COLOUR ONE HD",
       .video = hd,
       .audio = {{"eng", 440.00, false}, {"deu", 659.26, false, AudioCodec::Ac3}},
       .programmes = englishProgrammes()},
      {.id = 0x0202,
       .number = 4,
       .name = "Kutup Yıldızı",
       .charset = Charset::Iso8859_9,
       .language = "tur",
       .caption = "KUTUP YILDIZI",
       .video = sd(Pattern::Sunset, VIOLET),
       .audio = {{"tur", 587.33, false}},
       .programmes = turkishProgrammes()},
      {.id = 0x0203,
       .type = ServiceType::Radio,
       .number = 702,
       .name = "Radio €uro Fünf",
       .charset = Charset::Iso8859_15,
       .language = "deu",
       .audio = {{"deu", 329.63, true}},
       .programmes = germanRadioProgrammes()},
  };
  return multiplex;
}

Multiplex third(bool h264) {
  Multiplex multiplex{490'000'000, 3, 3'000'000, {}};
  multiplex.services = {
      {.id = 0x0301,
       .number = 5,
       .name = "Česká Vlna",
       .charset = Charset::Iso8859_2,
       .language = "ces",
       .caption = "CESKA VLNA",
       .video = sd(Pattern::Waves, FOREST),
       .audio = {{"ces", 659.26, false}},
       .hasTeletext = true,
       .relocates = true,
       .programmes = czechProgrammes()},
      {.id = 0x0302,
       .type = h264 ? ServiceType::SdH264 : ServiceType::Television,
       .number = 6,
       .name = "Ελληνικό Φως",
       .charset = Charset::Utf8,
       .language = "ell",
       .caption = "ELLINIKO FOS",
       .video = sd(Pattern::Sunset, AEGEAN, h264 ? VideoCodec::H264 : VideoCodec::Mpeg2),
       .audio = {{"ell", 698.46, false}},
       .programmes = greekProgrammes()},
      {.id = 0x0303,
       .number = 7,
       .name = "Cinema Vault",
       .language = "eng",
       .caption = "CINEMA VAULT",
       .video = sd(Pattern::Grid, WINE),
       .audio = {{"eng", 783.99, false}},
       .programmes = filmProgrammes(),
       .isProtected = true},
      {.id = 0x0304,
       .type = ServiceType::Data,
       .number = 900,
       .name = "Engineering Data",
       .language = "eng",
       .visible = false},
  };
  return multiplex;
}

}  // namespace

Network sampleNetwork(bool canEncodeH264) {
  return {NETWORK_ID,
          "Sample Network",
          "Sample Broadcasting",
          "DEU",
          {first(), second(canEncodeH264), third(canEncodeH264)}};
}

}  // namespace broadcaster
