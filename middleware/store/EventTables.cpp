#include "middleware/store/EventTables.h"

#include <utility>

namespace durix {

// AUTOINCREMENT: an identifier is never given again, also not after its row has gone. `texts` are packed.
const char* const EVENT_SCHEMA = R"(
CREATE TABLE event(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  service INTEGER NOT NULL, start INTEGER NOT NULL, finish INTEGER NOT NULL, number INTEGER NOT NULL,
  age INTEGER NOT NULL, content INTEGER NOT NULL,
  multiplex INTEGER NOT NULL, table_id INTEGER NOT NULL, section INTEGER NOT NULL, texts TEXT NOT NULL) STRICT;
CREATE INDEX event_of_service ON event(service, start);
CREATE INDEX event_by_end ON event(finish);
)";

std::vector<GuideEventPtr> readEvents(Database& database, std::uint32_t service, std::int64_t after) {
  Statement rows(database,
                 "SELECT id, number, age, content, start, finish, multiplex, table_id, section, texts FROM event "
                 "WHERE service = ? AND finish >= ? ORDER BY start");
  rows.bind(service).bind(after);
  std::vector<GuideEventPtr> events;
  while (rows.step()) {
    auto event = std::make_shared<GuideEvent>();
    event->id = rows.number<std::uint32_t>(0);
    event->eventId = rows.number<std::uint16_t>(1);
    event->age = rows.number<std::uint8_t>(2);
    event->content = rows.number<std::uint8_t>(3);
    event->start = rows.integer(4);
    event->end = rows.integer(5);
    event->origin = {rows.number<std::uint32_t>(6), rows.number<std::uint8_t>(7), rows.number<std::uint8_t>(8)};
    event->texts = EventTexts::unpacked(rows.text(9));
    events.push_back(std::move(event));
  }
  return events;
}

std::uint32_t lastEventId(Database& database) {
  return static_cast<std::uint32_t>(database.integer("SELECT seq FROM sqlite_sequence WHERE name = 'event'"));
}

void writeEvents(Database& database, std::span<const EventChange> changes) {
  Statement removal(database, "DELETE FROM event WHERE id = ?");
  Statement addition(database,
                     "INSERT INTO event(id, service, start, finish, number, age, content, multiplex, table_id, "
                     "section, texts) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  for (const auto& change : changes) {
    for (const auto& event : change.removed) removal.bind(event->id).run();
    for (const auto& event : change.added) {
      addition.bind(event->id).bind(change.service).bind(event->start).bind(event->end).bind(event->eventId);
      addition.bind(event->age).bind(event->content).bind(event->origin.multiplex).bind(event->origin.table);
      addition.bind(event->origin.section).bind(event->texts.packed()).run();
    }
  }
}

void dropEventsBefore(Database& database, std::int64_t moment) {
  Statement(database, "DELETE FROM event WHERE finish < ?").bind(moment).run();
}

}  // namespace durix
