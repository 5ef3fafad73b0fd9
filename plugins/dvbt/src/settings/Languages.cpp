#include "settings/Languages.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "durix/ostiv.h"
#include "support/Text.h"

namespace {

constexpr std::size_t READ_SIZE = 2048;   // bytes of a languages file that are looked at
constexpr std::size_t SHORTEST_LINE = 3;  // characters
constexpr char TRAILING[] = " \n\r\t";

// The contract's list, which names some codes twice.
constexpr std::size_t DEFAULT_COUNT = 188;
constexpr char DEFAULT_CODES[] =
    "aar abk afr sqi amh ara hye asm ave aym aze bak eus bel ben bih bis bod bos bre bul mya cat ces cha che zho chu "
    "chv cor cos cym ces dan deu ger dut dzo ell eng epo est eus fao fas fij fin fra fry kat deu gla gle glg glv ell "
    "grn guj hau heb her hin hmo hrv hun hye isl ido iku ile ina ind ipk isl ita jav jpn kal kan kas kat kaz khm kik "
    "kin kir kom kor kua kur lao lat lav lim lin lit ltz mkd mah mal mri mar msa mkd mlg mlt mol mon mri msa mya nau "
    "nav nbl nde ndo nep nld nor nno nob nya oci ori orm oss pan fas pli pol por pus que roh ron run rus sag san srp "
    "hrv sin slk slv sme smo sna snd som sot spa sqi srd srp ssw sun swa swe tah tam tat tel tgk tgl tha bod tir ton "
    "tsn tso tuk tur twi uig ukr urd uzb vie vol cym wln wol xho yid yor zha zho zul";
static_assert(sizeof DEFAULT_CODES == DEFAULT_COUNT * 4, "every code has three letters");

std::string withoutTrailing(const std::string& text) {
  return text.substr(0, text.find_last_not_of(TRAILING) + 1);
}

}  // namespace

std::vector<std::string> defaultLanguages() {
  std::vector<std::string> codes;
  codes.reserve(DEFAULT_COUNT);
  tokenize(DEFAULT_CODES, &codes, " ");
  return codes;
}

std::vector<std::string> parseLanguages(const std::string& text) {
  std::vector<std::string> lines;
  tokenize(text, &lines, "\n");
  std::vector<std::string> languages;
  for (const std::string& line : lines) {
    if (line.front() == '#' || line.size() < SHORTEST_LINE) continue;
    std::vector<std::string> parts;
    tokenize(line, &parts, ":\n");
    // A value of blanks only becomes the empty language, which a player takes for "the first".
    if (parts.size() == 2 && parts[0] == "lang") languages.push_back(withoutTrailing(parts[1]));
  }
  return languages;
}

bool readLanguagesFile(const std::string& path, std::string* text) {
  ostiv_file file{};
  if (ostiv_file_open(&file, path.c_str(), "r") != 0) return false;
  std::array<char, READ_SIZE> buffer{};
  std::uint32_t bytesRead = 0;
  const bool read = ostiv_file_read(&file, buffer.data(), READ_SIZE, &bytesRead) == 0;
  ostiv_file_close(&file);
  if (!read) return false;
  *text = fixedText(buffer.data(), std::min<std::size_t>(bytesRead, READ_SIZE));
  return true;
}
