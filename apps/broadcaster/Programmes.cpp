#include "apps/broadcaster/Programmes.h"

#include <stdexcept>

namespace broadcaster {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::minutes;
using namespace std::chrono_literals;

constexpr std::uint8_t FILM = 0x10;
constexpr std::uint8_t NEWS = 0x21;
constexpr std::uint8_t SHOW = 0x30;
constexpr std::uint8_t SPORT = 0x40;
constexpr std::uint8_t CHILDREN = 0x50;
constexpr std::uint8_t MUSIC = 0x60;
constexpr std::uint8_t ARTS = 0x70;
constexpr std::uint8_t SCIENCE = 0x90;
constexpr std::uint8_t LEISURE = 0xA0;

constexpr Programme ENGLISH[] = {
    {30min, NEWS, 0, "World in Brief", "Headlines from five continents", ""},
    {60min, SCIENCE, 0, "How Bridges Stand", "Six crossings and the people who keep them safe",
     "From a rope over a gorge to three kilometres of steel: engineers show what holds a bridge, what wears it out, "
     "and "
     "why some that looked sound had to go. The last part visits a laboratory where a model is loaded until it fails."},
    {45min, LEISURE, 0, "The Allotment", "Broad beans, slugs and a borrowed greenhouse", ""},
    {45min, SHOW, 0, "Quiz of the Counties", "Second semi-final", ""},
    {60min, FILM, 12, "The Night Ferry", "Crime drama: a passenger is missing when the ship comes in",
     "The crossing takes nine hours. One hundred and twelve passengers go on board, one hundred and eleven come off."},
};

constexpr Programme FRENCH[] = {
    {20min, NEWS, 0, "Le journal", "L'actualité en vingt minutes", ""},
    {40min, LEISURE, 0, "À table !", "La crème brûlée et ses secrets", ""},
    {90min, FILM, 10, "L'été à Honfleur", "Comédie dramatique",
     "Une maîtresse d'école reçoit par erreur la clé d'une maison où rien n'a été touché depuis 1968. Les voisins, "
     "eux, "
     "n'ont rien oublié."},
    {30min, CHILDREN, 0, "Hélène et le hérisson", "Dessin animé : la forêt enneigée", ""},
    {60min, ARTS, 0, "Façades", "Bâtir à Nîmes, de l'arène au béton", ""},
};

constexpr Programme RUSSIAN[] = {
    {30min, NEWS, 0, "Новости", "Главное за день", ""},
    {60min, SCIENCE, 0, "Полярная ночь", "Документальный фильм о зимовке",
     "Четыре месяца без солнца: метеорологи, повар и одна собака рассказывают, как проходит зима на станции, до "
     "которой "
     "самолёт летит дважды в год."},
    {30min, CHILDREN, 0, "Сказка на ночь", "Лиса и журавль", ""},
    {90min, FILM, 16, "Последний поезд", "Художественный фильм", ""},
    {30min, MUSIC, 0, "Струны", "Концерт для балалайки с оркестром", ""},
};

constexpr Programme TURKISH[] = {
    {30min, NEWS, 0, "Haberler", "Günün özeti", ""},
    {60min, LEISURE, 0, "Şehrin Işıkları", "Boğaz'da bir gece yürüyüşü",
     "Vapurdan inen yolcular, çay ocağının ilk müşterileri ve gün ağarmadan açılan fırınlar: şehir hiç uyumuyor."},
    {90min, FILM, 12, "Gümüş Ağaç", "Aile filmi", ""},
    {60min, SPORT, 0, "Maç Günü", "Haftanın golleri ve yorumları", ""},
};

constexpr Programme CZECH[] = {
    {30min, NEWS, 0, "Zprávy", "Přehled dne", ""},
    {45min, LEISURE, 0, "Dřevo a dláto", "Řezbář z Křivoklátu",
     "Z kusu lípy vznikne za týden betlém. Mistr ukáže, jak se ostří dláto, jak číst léta ve dřevě a čemu se vyhnout.",
     1s},
    {45min, CHILDREN, 0, "Žížala Žofka", "Pohádka o dešti", ""},
    {90min, FILM, 12, "Účet za světlo", "Hořká komedie", ""},
    {30min, SPORT, 0, "Branky, body", "Výsledky kola", ""},
};

constexpr Programme GREEK[] = {
    {30min, NEWS, 0, "Ειδήσεις", "Τα γεγονότα της ημέρας", ""},
    {60min, ARTS, 0, "Πέτρα και φως", "Αρχιτεκτονική των Κυκλάδων",
     "Ένας κτίστης, μια αρχιτέκτονας και ο άνεμος: πώς χτίστηκαν τα σπίτια που όλοι φωτογραφίζουν και λίγοι "
     "κατοικούν."},
    {45min, SHOW, 0, "Ποιος ξέρει;", "Παιχνίδι γνώσεων", ""},
    {15min, 0, 0, "", "", ""},
    {90min, FILM, 12, "Το τελευταίο καράβι", "Δραματική ταινία", ""},
};

constexpr Programme FILMS[] = {
    {120min, FILM, 16, "The Locksmith", "Thriller: nine doors and one key",
     "A retired locksmith is asked to open a vault that he closed himself thirty years ago. He knows what is inside."},
    {105min, FILM, 6, "Two Tickets to Trieste", "Comedy", ""},
    {15min, ARTS, 0, "Trailers", "What comes next month", ""},
};

constexpr Programme CZECH_RADIO[] = {
    {10min, NEWS, 0, "Zprávy", "", ""},
    {50min, ARTS, 0, "Četba na pokračování", "Příběh z Šumavy, čtvrtá část", ""},
    {60min, MUSIC, 0, "Smyčce", "Český komorní orchestr", ""},
};

constexpr Programme GERMAN_RADIO[] = {
    {5min, NEWS, 0, "Nachrichten", "", ""},
    {55min, MUSIC, 0, "Für Frühaufsteher", "Musik für 0 € Eintritt", ""},
    {60min, SHOW, 0, "Grüße & Wünsche", "Hörer rufen an", ""},
};

}  // namespace

std::vector<Event> schedule(std::span<const Programme> programmes, Moment from, Moment until) {
  if (programmes.empty()) return {};
  std::vector<Event> events;
  std::uint32_t perDay = 0;
  minutes round{0};
  for (const Programme& programme : programmes) round += programme.length;
  if (days(1) % round != minutes(0)) throw std::logic_error("the programmes of a service do not fill a day evenly");
  perDay = static_cast<std::uint32_t>(days(1) / round * static_cast<std::int64_t>(programmes.size()));

  const auto today = floor<days>(from);
  Moment start = today;
  auto ordinal = static_cast<std::uint32_t>(today.time_since_epoch().count()) * perDay;
  for (; start < until; ++ordinal) {
    const Programme& programme = programmes[ordinal % programmes.size()];
    const std::uint32_t id = 1 + ordinal % (8 * perDay);
    const Event event{&programme, static_cast<std::uint16_t>(id), ordinal, start};
    if (event.end() > from && !programme.title.empty()) events.push_back(event);
    start += programme.length;
  }
  return events;
}

std::span<const Programme> englishProgrammes() {
  return ENGLISH;
}
std::span<const Programme> frenchProgrammes() {
  return FRENCH;
}
std::span<const Programme> russianProgrammes() {
  return RUSSIAN;
}
std::span<const Programme> turkishProgrammes() {
  return TURKISH;
}
std::span<const Programme> czechProgrammes() {
  return CZECH;
}
std::span<const Programme> greekProgrammes() {
  return GREEK;
}
std::span<const Programme> filmProgrammes() {
  return FILMS;
}
std::span<const Programme> czechRadioProgrammes() {
  return CZECH_RADIO;
}
std::span<const Programme> germanRadioProgrammes() {
  return GERMAN_RADIO;
}

}  // namespace broadcaster
