#include "apps/broadcaster/teletext/TeletextPage.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <utility>

namespace broadcaster {
namespace {

constexpr std::size_t COLUMNS = 40;
constexpr unsigned FILLING = 0x8FF;
constexpr unsigned ANY_SUBPAGE = 0x3F7F;
constexpr unsigned LINKS_ROW = 27;

/// The national options of a language: what stands in thirteen places of the Latin letters (EN 300 706, table 36).
constexpr std::array<char, 13> PLACES = {0x23, 0x24, 0x40, 0x5B, 0x5C, 0x5D, 0x5E, 0x5F, 0x60, 0x7B, 0x7C, 0x7D, 0x7E};
struct Letters {
  std::string_view language;
  unsigned option;  // C12 to C14, C12 first
  std::array<std::string_view, PLACES.size()> letters;
};
constexpr Letters LETTERS[] = {
    {"eng", 0b000, {"£", "$", "@", "←", "½", "→", "↑", "#", "―", "¼", "‖", "¾", "÷"}},
    {"fra", 0b100, {"é", "ï", "à", "ë", "ê", "ù", "î", "#", "è", "â", "ô", "û", "ç"}},
    {"ces", 0b110, {"#", "ů", "č", "ť", "ž", "ý", "í", "ř", "é", "á", "ě", "ú", "š"}},
};

/// Letters that no option has, as those that come next to them.
constexpr std::pair<std::string_view, char> PLAIN[] = {
    {"À", 'A'}, {"Á", 'A'}, {"Â", 'A'}, {"Ç", 'C'}, {"Č", 'C'}, {"Ď", 'D'}, {"ď", 'd'}, {"É", 'E'}, {"È", 'E'},
    {"Ê", 'E'}, {"Ě", 'E'}, {"Í", 'I'}, {"Î", 'I'}, {"Ň", 'N'}, {"ň", 'n'}, {"Ó", 'O'}, {"ó", 'o'}, {"Ô", 'O'},
    {"Ř", 'R'}, {"Š", 'S'}, {"Ť", 'T'}, {"Ú", 'U'}, {"Ů", 'U'}, {"Ý", 'Y'}, {"Ž", 'Z'},
};

const Letters& lettersOf(std::string_view language) {
  const auto* const found = std::ranges::find(LETTERS, language, &Letters::language);
  return found == std::end(LETTERS) ? LETTERS[0] : *found;
}

std::uint8_t withParity(char code) {
  const auto bits = static_cast<unsigned>(code) & 0x7FU;
  return static_cast<std::uint8_t>(bits | (std::popcount(bits) % 2 == 0 ? 0x80U : 0U));
}

/// Four bits with their protection (EN 300 706, 8.2).
std::uint8_t protect(unsigned value) {
  const auto bit = [value](unsigned n) { return value >> n & 1U; };
  const unsigned low = (1U ^ bit(0) ^ bit(2) ^ bit(3)) | bit(0) << 1U | (1U ^ bit(0) ^ bit(1) ^ bit(3)) << 2U |
                       bit(1) << 3U | (1U ^ bit(0) ^ bit(1) ^ bit(2)) << 4U | bit(2) << 5U | bit(3) << 7U;
  const unsigned even = 1U ^ (static_cast<unsigned>(std::popcount(low)) & 1U);
  return static_cast<std::uint8_t>(low | even << 6U);
}

/// The code of the first character of the text, which is taken away from it.
char takeCharacter(std::string_view& text, const Letters& letters) {
  for (std::size_t i = 0; i < PLACES.size(); ++i) {
    if (!text.starts_with(letters.letters[i])) continue;
    text.remove_prefix(letters.letters[i].size());
    return PLACES[i];
  }
  for (const auto& [letter, plain] : PLAIN) {
    if (!text.starts_with(letter)) continue;
    text.remove_prefix(letter.size());
    return plain;
  }
  const char code = text.front();
  const bool isTaken = std::ranges::find(PLACES, code) != PLACES.end();
  if ((static_cast<unsigned char>(code) & 0x80U) != 0 || isTaken) {
    throw std::runtime_error("teletext has no letter for \"" + std::string(text) + "\"");
  }
  text.remove_prefix(1);
  return code;
}

TeletextLine emptyLine(unsigned page, unsigned row) {
  TeletextLine line;
  line.fill(withParity(' '));
  line[0] = protect((page >> 8U & 7U) | (row & 1U) << 3U);
  line[1] = protect(row >> 1U);
  return line;
}

void putText(TeletextLine& line, std::size_t column, std::string_view text, const Letters& letters) {
  for (std::size_t at = 2 + column; at < line.size() && !text.empty(); ++at) {
    line[at] = withParity(takeCharacter(text, letters));
  }
}

TeletextLine headerOf(const TeletextPage& page, const Letters& letters) {
  constexpr unsigned ERASE = 8;     // C4
  constexpr unsigned SUBTITLE = 8;  // C6
  constexpr unsigned SUPPRESS = 1;  // C7: the header is not shown
  constexpr unsigned APART = 4;     // C9: the header is out of sequence
  constexpr unsigned SERIAL = 1;    // C11: magazines follow each other
  TeletextLine line = emptyLine(page.number, 0);
  line[2] = protect(page.number & 0xFU);
  line[3] = protect(page.number >> 4U & 0xFU);
  line[4] = protect(page.subpage & 0xFU);
  line[5] = protect((page.subpage >> 4U & 7U) | ERASE);
  line[6] = protect(page.subpage >> 8U & 0xFU);
  line[7] = protect((page.subpage >> 12U & 3U) | (page.isSubtitle ? SUBTITLE : 0));
  line[8] = protect(page.isSubtitle ? SUPPRESS | APART : 0);
  const unsigned option = letters.option;
  line[9] = protect(SERIAL | (option >> 2U & 1U) << 1U | (option >> 1U & 1U) << 2U | (option & 1U) << 3U);
  return line;
}

/// Packet X/27/0 (EN 300 706, 9.6.1), without a check word over the page.
TeletextLine linksLine(const TeletextPage& page) {
  constexpr std::size_t LINKS = 6;
  constexpr unsigned LABELS_SHOWN = 0xF;
  TeletextLine line = emptyLine(page.number, LINKS_ROW);
  line[2] = protect(0);
  for (std::size_t i = 0; i < LINKS; ++i) {
    const unsigned target = i < page.links.size() ? page.links[i] : FILLING;
    const unsigned magazine = (target ^ page.number) >> 8U & 7U;
    const std::size_t at = 3 + 6 * i;
    line[at] = protect(target & 0xFU);
    line[at + 1] = protect(target >> 4U & 0xFU);
    line[at + 2] = protect(ANY_SUBPAGE & 0xFU);
    line[at + 3] = protect((ANY_SUBPAGE >> 4U & 7U) | (magazine & 1U) << 3U);
    line[at + 4] = protect(ANY_SUBPAGE >> 8U & 0xFU);
    line[at + 5] = protect((ANY_SUBPAGE >> 12U & 3U) | (magazine >> 1U) << 2U);
  }
  line[39] = protect(LABELS_SHOWN);
  line[40] = line[41] = 0;
  return line;
}

}  // namespace

std::vector<TeletextLine> linesOf(const TeletextPage& page, std::string_view language, std::string_view title,
                                  std::string_view clock) {
  const Letters& letters = lettersOf(language);
  std::string heading;
  for (const unsigned shift : {8U, 4U, 0U}) heading += static_cast<char>('0' + (page.number >> shift & 0xFU));
  std::vector<TeletextLine> lines = {headerOf(page, letters)};
  putText(lines[0], 8, heading + " " + std::string(title), letters);
  putText(lines[0], COLUMNS - clock.size() - 1, "\003" + std::string(clock), letters);
  if (!page.links.empty()) lines.push_back(linksLine(page));
  for (const TeletextPage::Row& row : page.rows) {
    putText(lines.emplace_back(emptyLine(page.number, row.number)), 0, row.text, letters);
  }
  return lines;
}

TeletextLine fillingHeader() {
  return headerOf({.number = FILLING, .subpage = ANY_SUBPAGE}, LETTERS[0]);
}

}  // namespace broadcaster
