#include "EventBuilder.h"

namespace durix::test {
namespace {

std::uint8_t bcd(std::int64_t value) {
  return static_cast<std::uint8_t>(value / 10 << 4 | value % 10);
}

Bytes sized(std::string_view value) {
  return join({{static_cast<std::uint8_t>(value.size())}, text(value)});
}

std::uint8_t orElse(int value, std::uint8_t other) {
  return value < 0 ? other : static_cast<std::uint8_t>(value);
}

}  // namespace

Bytes momentBytes(std::int64_t utc) {
  return join({word(static_cast<unsigned>(utc / 86400 + 40587)), lengthBytes(utc % 86400)});
}

Bytes lengthBytes(std::int64_t seconds) {
  return {bcd(seconds / 3600), bcd(seconds / 60 % 60), bcd(seconds % 60)};
}

Bytes shortEvent(std::string_view language, std::string_view title, std::string_view text) {
  return descriptor(0x4D, join({test::text(language), sized(title), sized(text)}));
}

Bytes extendedEvent(unsigned number, unsigned last, std::string_view language, std::string_view text,
                    const std::vector<std::pair<std::string_view, std::string_view>>& items) {
  Bytes list;
  for (const auto& [name, value] : items) list = join({list, sized(name), sized(value)});
  return descriptor(0x4E, join({{static_cast<std::uint8_t>(number << 4 | last)},
                                test::text(language),
                                {static_cast<std::uint8_t>(list.size())},
                                list,
                                sized(text)}));
}

Bytes eitSection(const EventHead& head, const std::vector<TestEvent>& events) {
  Bytes body = join({word(head.transportStream),
                     word(head.originalNetwork),
                     {orElse(head.segmentLast, head.last), orElse(head.lastTable, head.table)}});
  for (const auto& event : events) {
    const Bytes title = event.title.empty() ? Bytes{} : shortEvent("eng", event.title, event.text);
    const Bytes loop = join({title, event.more});
    body = join({body, word(event.id), momentBytes(event.start), lengthBytes(event.length),
                 word(static_cast<unsigned>(loop.size())), loop});
  }
  return section({.table = head.table,
                  .extension = head.service,
                  .version = head.version,
                  .number = head.number,
                  .last = head.last},
                 body);
}

}  // namespace durix::test
