#include "middleware/si/Iso6937.h"

#include <array>
#include <string_view>

namespace durix {

namespace {
constexpr std::uint8_t FIRST_GRAPHIC = 0xA0;
constexpr std::uint8_t FIRST_DIACRITIC = 0xC0;
constexpr std::uint8_t LAST_DIACRITIC = 0xCF;

// 0xA0 to 0xFF; 0 where there is no character, or a diacritic.
constexpr std::array<char32_t, 96> GRAPHICS = {
    0x00A0, 0x00A1, 0x00A2, 0x00A3, 0x20AC, 0x00A5, 0,      0x00A7, 0x00A4, 0x2018, 0x201C, 0x00AB,  //
    0x2190, 0x2191, 0x2192, 0x2193, 0x00B0, 0x00B1, 0x00B2, 0x00B3, 0x00D7, 0x00B5, 0x00B6, 0x00B7,  //
    0x00F7, 0x2019, 0x201D, 0x00BB, 0x00BC, 0x00BD, 0x00BE, 0x00BF, 0,      0,      0,      0,       //
    0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,       //
    0x2014, 0x00B9, 0x00AE, 0x00A9, 0x2122, 0x266A, 0x00AC, 0x00A6, 0,      0,      0,      0,       //
    0x215B, 0x215C, 0x215D, 0x215E, 0x03A9, 0x00C6, 0x0110, 0x00AA, 0x0126, 0,      0x0132, 0x013F,  //
    0x0141, 0x00D8, 0x0152, 0x00BA, 0x00DE, 0x0166, 0x014A, 0x0149, 0x0138, 0x00E6, 0x0111, 0x00F0,  //
    0x0127, 0x0131, 0x0133, 0x0140, 0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x0167, 0x014B, 0x00AD};

struct Diacritic {
  char32_t spacing = 0;    // standing for itself
  char32_t combining = 0;  // for letters without a character of their own
  std::string_view letters;
  std::u32string_view composed;  // as long as `letters`
};

// 0xC0 to 0xCF.
constexpr std::array<Diacritic, 16> DIACRITICS = {{
    {},
    {0x0060, 0x0300, "AEIOUaeiouNnWwYy", U"ÀÈÌÒÙàèìòùǸǹẀẁỲỳ"},
    {0x00B4, 0x0301, "ACEILNORSUYZaceilnorsuyzGgWwKkMmPp", U"ÁĆÉÍĹŃÓŔŚÚÝŹáćéíĺńóŕśúýźǴǵẂẃḰḱḾḿṔṕ"},
    {0x005E, 0x0302, "ACEGHIJOSUWYaceghijosuwyZz", U"ÂĈÊĜĤÎĴÔŜÛŴŶâĉêĝĥîĵôŝûŵŷẐẑ"},
    {0x007E, 0x0303, "AINOUainouEeYyVv", U"ÃĨÑÕŨãĩñõũẼẽỸỹṼṽ"},
    {0x00AF, 0x0304, "AEIOUaeiouGgYy", U"ĀĒĪŌŪāēīōūḠḡȲȳ"},
    {0x02D8, 0x0306, "AGUaguEeIiOo", U"ĂĞŬăğŭĔĕĬĭŎŏ"},
    {0x02D9, 0x0307, "CEGIZcegzBbDdFfHhMmNnPpRrSsTtWwXxYyAaOo", U"ĊĖĠİŻċėġżḂḃḊḋḞḟḢḣṀṁṄṅṖṗṘṙṠṡṪṫẆẇẊẋẎẏȦȧȮȯ"},
    {0x00A8, 0x0308, "AEIOUYaeiouyWwHhXxt", U"ÄËÏÖÜŸäëïöüÿẄẅḦḧẌẍẗ"},
    {0x00A8, 0x0308, "AEIOUYaeiouy", U"ÄËÏÖÜŸäëïöüÿ"},  // a second code for it in older editions
    {0x02DA, 0x030A, "AUauwy", U"ÅŮåůẘẙ"},
    {0x00B8, 0x0327, "CGKLNRSTcgklnrstEeDdHh", U"ÇĢĶĻŅŖŞŢçģķļņŗşţȨȩḐḑḨḩ"},
    {0x005F, 0x0332, {}, {}},  // underline, in older editions
    {0x02DD, 0x030B, "OUou", U"ŐŰőű"},
    {0x02DB, 0x0328, "AEIUaeiuOo", U"ĄĘĮŲąęįųǪǫ"},
    {0x02C7, 0x030C, "CDELNRSTZcdelnrstzAaIiOoUuGgKkHhj", U"ČĎĚĽŇŘŠŤŽčďěľňřšťžǍǎǏǐǑǒǓǔǦǧǨǩȞȟǰ"},
}};

void appendAccented(const Diacritic& diacritic, std::uint8_t letter, std::u32string& out) {
  const std::size_t at = diacritic.letters.find(static_cast<char>(letter));
  if (at != std::string_view::npos) {
    out += diacritic.composed[at];
  } else {
    out += static_cast<char32_t>(letter);
    out += diacritic.combining;
  }
}

bool isLetter(std::uint8_t byte) {
  return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}
}  // namespace

std::u32string decodeIso6937(std::span<const std::uint8_t> text) {
  std::u32string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::uint8_t byte = text[i];
    if (byte < FIRST_GRAPHIC) {
      out += static_cast<char32_t>(byte);
    } else if (byte > FIRST_DIACRITIC && byte <= LAST_DIACRITIC) {
      const Diacritic& diacritic = DIACRITICS[byte - FIRST_DIACRITIC];
      const std::uint8_t next = i + 1 < text.size() ? text[i + 1] : std::uint8_t{0};
      if (isLetter(next)) {
        appendAccented(diacritic, next, out);
        ++i;
      } else {
        out += diacritic.spacing;
        if (next == ' ') ++i;
      }
    } else if (const char32_t graphic = GRAPHICS[byte - FIRST_GRAPHIC]; graphic != 0) {
      out += graphic;
    }
  }
  return out;
}

}  // namespace durix
