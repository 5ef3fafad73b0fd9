#include "middleware/si/EitReader.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include "middleware/si/DescriptorTags.h"
#include "middleware/si/Descriptors.h"
#include "middleware/si/Languages.h"
#include "middleware/si/TableReaders.h"

namespace durix {

namespace {
using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t TABLE_HEADER_SIZE = 6;
constexpr std::size_t EVENT_HEADER_SIZE = 12;
constexpr std::size_t LANGUAGE_SIZE = 3;

// So many bytes from the front as there are; the rest stays.
Bytes take(Bytes& bytes, std::size_t size) {
  const Bytes front = bytes.first(std::min(size, bytes.size()));
  bytes = bytes.subspan(front.size());
  return front;
}

// Bytes behind their length.
Bytes takeSized(Bytes& bytes) {
  if (bytes.empty()) return {};
  const std::size_t size = bytes[0];
  bytes = bytes.subspan(1);
  return take(bytes, size);
}

std::string takeLanguage(Bytes& bytes) {
  std::string language = languageCode(take(bytes, LANGUAGE_SIZE).first<LANGUAGE_SIZE>());
  std::ranges::transform(language, language.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
  return language;
}

// What the extended event descriptors (EN 300 468, 6.2.15) of one language say.
struct ExtendedText {
  struct Item {
    std::string name, text;
  };
  std::string text;
  std::vector<Item> items;
};

// Gathers the descriptors of one event; texts that go on in another descriptor come together again.
class EventReader {
 public:
  EventReader(BroadcastEvent& event, DefaultTable table) : _event(event), _table(table) {}

  void read(Bytes loop) {
    std::map<std::pair<std::string, unsigned>, Bytes> parts;  // by language and number: each once, in their order
    for (const auto& descriptor : readDescriptors(loop)) {
      if (descriptor.tag == SHORT_EVENT_DESCRIPTOR) readShort(descriptor.data);
      if (descriptor.tag == CONTENT_DESCRIPTOR && _event.content == 0 && !descriptor.data.empty()) {
        _event.content = descriptor.data[0];
      }
      if (descriptor.tag == PARENTAL_RATING_DESCRIPTOR) readRating(descriptor.data);
      if (descriptor.tag != EXTENDED_EVENT_DESCRIPTOR || descriptor.data.size() < 1 + LANGUAGE_SIZE) continue;
      Bytes data = descriptor.data.subspan(1);
      auto language = takeLanguage(data);
      parts.try_emplace({std::move(language), descriptor.data[0] >> 4}, data);
    }
    std::map<std::string, ExtendedText> extended;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
      const auto next = std::next(part);
      const auto& language = part->first.first;
      readExtended(part->second, next == parts.end() || next->first.first != language, extended[language]);
    }
    for (const auto& [language, text] : extended) append(language, text);
    std::erase_if(_event.texts, [](const EventText& text) { return text.title.empty() && text.description.empty(); });
  }

 private:
  std::string decode(Bytes bytes) const { return decodeDvbText(bytes, _table); }

  EventText& textIn(const std::string& language) {
    const auto found = std::ranges::find_if(_event.texts, [&](const EventText& text) {
      return canonicalLanguage(text.language) == canonicalLanguage(language);
    });
    if (found != _event.texts.end()) return *found;
    return _event.texts.emplace_back(EventText{.language = language});
  }

  // EN 300 468, 6.2.37. The first of a language counts.
  void readShort(Bytes data) {
    if (data.size() < LANGUAGE_SIZE) return;
    EventText& text = textIn(takeLanguage(data));
    if (!text.title.empty() || !text.description.empty()) return;
    text.title = decode(takeSized(data));
    std::ranges::replace(text.title, '\n', ' ');
    text.description = decode(takeSized(data));
  }

  // EN 300 468, 6.2.28: an age is three years above its code; other codes are the broadcaster's own. Of the ages of
  // several countries the highest counts: nobody is shown what somebody warns of.
  void readRating(Bytes data) {
    constexpr std::size_t ENTRY_SIZE = 4;
    constexpr std::uint8_t LAST_AGE = 0x0F;
    for (; data.size() >= ENTRY_SIZE; data = data.subspan(ENTRY_SIZE)) {
      const std::uint8_t code = data[ENTRY_SIZE - 1];
      if (code > 0 && code <= LAST_AGE) _event.age = std::max<std::uint8_t>(_event.age, code + 3);
    }
  }

  void readExtended(Bytes data, bool isLast, ExtendedText& extended) const {
    for (Bytes items = takeSized(data); !items.empty();) {
      std::string name = decode(takeSized(items));
      std::string text = decode(takeSized(items));
      if (name.empty() && !extended.items.empty()) {
        extended.items.back().text += text;
      } else {
        extended.items.push_back({std::move(name), std::move(text)});
      }
    }
    Bytes text = takeSized(data);
    if (!isLast) text = withoutOpenDiacritic(text);
    extended.text += decode(text);
  }

  // Each part is a text of its own, as receivers read it: a diacritic at its end has lost its letter to the next part.
  static Bytes withoutOpenDiacritic(Bytes text) {
    constexpr std::uint8_t FIRST_PRINTABLE = 0x20;
    constexpr std::uint8_t FIRST_DIACRITIC = 0xC1;  // of ISO 6937
    constexpr std::uint8_t LAST_DIACRITIC = 0xCF;
    const bool isUnmarked = !text.empty() && text.front() >= FIRST_PRINTABLE;
    const bool isOpen = isUnmarked && text.back() >= FIRST_DIACRITIC && text.back() <= LAST_DIACRITIC;
    return isOpen ? text.first(text.size() - 1) : text;
  }

  void append(const std::string& language, const ExtendedText& extended) {
    std::string& description = textIn(language).description;
    const auto addLine = [&](const std::string& line) {
      if (line.empty()) return;
      if (!description.empty()) description += '\n';
      description += line;
    };
    addLine(extended.text);
    if (!extended.text.empty()) return;
    for (const auto& [name, text] : extended.items) {
      std::string line = name;
      if (!name.empty() && !text.empty()) line += ": ";
      addLine(line += text);
    }
  }

  BroadcastEvent& _event;
  const DefaultTable _table;
};

std::optional<std::int64_t> readDuration(Bytes bcd) {
  std::int64_t seconds = 0;
  for (std::size_t i = 0; i < bcd.size(); ++i) {
    const int tens = bcd[i] >> 4;
    const int ones = bcd[i] & 0x0F;
    if (tens > 9 || ones > 9 || (i > 0 && tens > 5)) return std::nullopt;
    seconds = seconds * 60 + std::int64_t{tens} * 10 + ones;
  }
  return seconds > 0 ? std::optional(seconds) : std::nullopt;
}
}  // namespace

std::optional<EventSection> readEit(const Section& section, DefaultTable table) {
  constexpr std::size_t START = 2;
  constexpr std::size_t MOMENT_SIZE = 5;
  constexpr std::size_t DURATION_SIZE = 3;
  constexpr std::size_t LOOP_LENGTH = START + MOMENT_SIZE + DURATION_SIZE;
  Bytes rest = section.body();
  if (!section.isLong() || rest.size() < TABLE_HEADER_SIZE) return std::nullopt;
  EventSection result{.originalNetworkId = static_cast<std::uint16_t>(rest[2] << 8 | rest[3]),
                      .transportStreamId = static_cast<std::uint16_t>(rest[0] << 8 | rest[1]),
                      .serviceId = section.extension(),
                      .segmentLastNumber = rest[4],
                      .lastTable = rest[5]};
  rest = rest.subspan(TABLE_HEADER_SIZE);
  while (rest.size() >= EVENT_HEADER_SIZE) {
    const Bytes header = take(rest, EVENT_HEADER_SIZE);
    const std::size_t length = (header[LOOP_LENGTH] & 0x0FU) << 8 | header[LOOP_LENGTH + 1];
    const Bytes loop = take(rest, length);
    const auto start = readMoment(header.subspan<START, MOMENT_SIZE>());
    const auto duration = readDuration(header.subspan(START + MOMENT_SIZE, DURATION_SIZE));
    BroadcastEvent event{.id = static_cast<std::uint16_t>(header[0] << 8 | header[1])};
    EventReader(event, table).read(loop);
    if (!start || !duration || event.texts.empty()) {
      ++result.dropped;
      continue;
    }
    event.start = *start;
    event.end = *start + *duration;
    result.events.push_back(std::move(event));
  }
  return result;
}

}  // namespace durix
