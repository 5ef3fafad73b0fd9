#include "apps/broadcaster/teletext/TeletextPages.h"

#include <algorithm>
#include <array>
#include <string>

namespace broadcaster {
namespace {

using namespace std::chrono_literals;

// Control codes of level 1 (EN 300 706, table 26).
constexpr char RED[] = "\001", GREEN[] = "\002", YELLOW[] = "\003", BLUE[] = "\004", CYAN[] = "\006", WHITE[] = "\007";
constexpr char GROUND[] = "\035";  // the background takes the colour of the letters
constexpr char TALL[] = "\015";    // double height
constexpr char BLUE_MOSAICS[] = "\024";
constexpr char BOX[] = "\013\013";
constexpr char BOX_END[] = "\012\012";

constexpr unsigned INDEX = 0x100, NEWS = 0x101, PROGRAMMES = 0x200, WEATHER = 0x300, SUBTITLES = 0x888;

/// What is said in each language.
struct Texts {
  std::string_view language;
  std::string_view index, news, programmes, weather, subtitles, clock;
  std::array<std::string_view, 6> headlines;
  std::array<std::array<std::string_view, 4>, 2> forecasts;
};
constexpr Texts TEXTS[] = {
    {"fra",
     "Sommaire",
     "Actualités",
     "Programmes",
     "Météo",
     "Sous-titres",
     "Il est",
     {"Le pont rouvre à la circulation", "après deux années de travaux.", "", "Musée : l'entrée est gratuite",
      "dès dimanche prochain.", "La fête aura lieu où l'on sait."},
     {{{"Aujourd'hui", "Nord     12 C  pluie", "Centre   15 C  éclaircies", "Sud      21 C  soleil"},
       {"Demain", "Nord     14 C  nuages", "Centre   17 C  soleil", "Sud      23 C  orages à l'ouest"}}}},
    {"ces",
     "Obsah",
     "Zprávy",
     "Program",
     "Počasí",
     "Titulky",
     "Je",
     {"Most je znovu otevřen,", "oprava trvala dva roky.", "", "Muzeum: vstup je od neděle", "zdarma i pro dospělé.",
      "Průvod vyjde už v šest večer."},
     {{{"Dnes", "Čechy    12 C  déšť", "Morava   15 C  polojasno", "Slezsko  11 C  zataženo"},
       {"Zítra", "Čechy    14 C  oblačno", "Morava   17 C  slunečno", "Slezsko  13 C  bouřky"}}}},
};

const Texts& textsOf(const Service& service) {
  const auto* const found = std::ranges::find(TEXTS, service.language, &Texts::language);
  return found == std::end(TEXTS) ? TEXTS[0] : *found;
}

std::string text(std::initializer_list<std::string_view> parts) {
  std::string all;
  for (const std::string_view part : parts) all += part;
  return all;
}

/// A page with the name of the service on a blue ground, a heading, a rule, and the coloured keys below.
TeletextPage framed(const Service& service, const Texts& texts, unsigned number, std::string_view heading) {
  TeletextPage page{.number = number, .links = {INDEX, NEWS, PROGRAMMES, WEATHER}};
  page.rows = {{1, text({BLUE, GROUND, YELLOW, TALL, " ", service.name})},
               {3, text({CYAN, heading})},
               {22, text({BLUE_MOSAICS, std::string(39, ',')})}};
  page.rows.push_back(
      {24, text({RED, texts.index, " ", GREEN, texts.news, " ", YELLOW, texts.programmes, " ", CYAN, texts.weather})});
  return page;
}

TeletextPage indexPage(const Service& service, const Texts& texts) {
  TeletextPage page = framed(service, texts, INDEX, texts.index);
  const std::pair<std::string_view, std::string_view> entries[] = {
      {texts.news, "101"}, {texts.programmes, "200"}, {texts.weather, "300"}, {texts.subtitles, "888"}};
  unsigned row = 6;
  for (const auto& [name, number] : entries) {
    page.rows.push_back({row, text({WHITE, "  ", number, " ", YELLOW, name})});
    row += 2;
  }
  return page;
}

TeletextPage newsPage(const Service& service, const Texts& texts) {
  TeletextPage page = framed(service, texts, NEWS, texts.news);
  unsigned row = 6;
  for (const std::string_view line : texts.headlines) {
    if (!line.empty()) page.rows.push_back({row, text({WHITE, " ", line})});
    ++row;
  }
  return page;
}

TeletextPage programmePage(const Service& service, const Texts& texts, Moment now) {
  TeletextPage page = framed(service, texts, PROGRAMMES, texts.programmes);
  unsigned row = 5;
  for (const Event& event : schedule(service.programmes, now, now + 6h)) {
    if (row > 20) break;
    const bool onAir = event.start <= now;
    page.rows.push_back(
        {row++, text({onAir ? YELLOW : WHITE, clockOf(event.start).substr(0, 5), " ", event.programme->title})});
  }
  return page;
}

TeletextPage weatherPage(const Service& service, const Texts& texts, unsigned subpage) {
  TeletextPage page = framed(service, texts, WEATHER, texts.weather);
  page.subpage = subpage;
  page.rows.push_back({4, text({GREEN, std::string(34, ' '), std::to_string(subpage), "/2"})});
  unsigned row = 6;
  for (const std::string_view line : texts.forecasts.at(subpage - 1)) {
    page.rows.push_back({row, text({row == 6 ? YELLOW : WHITE, " ", line})});
    row += 2;
  }
  return page;
}

}  // namespace

std::vector<TeletextPage> teletextPages(const Service& service, Moment now) {
  const Texts& texts = textsOf(service);
  return {indexPage(service, texts), newsPage(service, texts), programmePage(service, texts, now),
          weatherPage(service, texts, 1), weatherPage(service, texts, 2)};
}

TeletextPage teletextSubtitle(const Service& service, Moment now) {
  TeletextPage page = emptySubtitle();
  page.rows = {{22, text({TALL, BOX, WHITE, textsOf(service).clock, " ", clockOf(now), BOX_END})}};
  return page;
}

TeletextPage emptySubtitle() {
  return {.number = SUBTITLES, .isSubtitle = true};
}

}  // namespace broadcaster
