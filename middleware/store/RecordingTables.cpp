#include "middleware/store/RecordingTables.h"

namespace durix {

const char* const RECORDING_SCHEMA = R"(
CREATE TABLE recorder_id(one INTEGER PRIMARY KEY CHECK(one = 1), last INTEGER NOT NULL) STRICT;
INSERT INTO recorder_id VALUES(1, 0);
CREATE TABLE timer(
  id INTEGER PRIMARY KEY,
  service INTEGER NOT NULL, receiver INTEGER NOT NULL, original_network INTEGER NOT NULL,
  transport_stream INTEGER NOT NULL, service_number INTEGER NOT NULL, service_name TEXT NOT NULL,
  name TEXT NOT NULL, description TEXT NOT NULL, age INTEGER NOT NULL,
  start INTEGER NOT NULL, finish INTEGER NOT NULL, lead INTEGER NOT NULL, recording INTEGER NOT NULL) STRICT;
CREATE TABLE recording(
  id INTEGER PRIMARY KEY,
  service INTEGER NOT NULL, receiver INTEGER NOT NULL, original_network INTEGER NOT NULL,
  transport_stream INTEGER NOT NULL, service_number INTEGER NOT NULL, service_name TEXT NOT NULL,
  name TEXT NOT NULL, description TEXT NOT NULL, age INTEGER NOT NULL,
  start INTEGER NOT NULL, finish INTEGER NOT NULL, state INTEGER NOT NULL, file TEXT NOT NULL,
  errors INTEGER NOT NULL) STRICT;
)";

namespace {

// Timers and recordings have the same first columns.
const char* const TIMER_COLUMNS =
    "id, service, receiver, original_network, transport_stream, service_number, service_name, name, description, age, "
    "start, finish, lead, recording";
const char* const RECORDING_COLUMNS =
    "id, service, receiver, original_network, transport_stream, service_number, service_name, name, description, age, "
    "start, finish, state, file, errors";

template <typename Row>
void readCommon(const Statement& rows, Row& row) {
  row.id = rows.number<std::uint32_t>(0);
  row.service.id = rows.number<std::uint32_t>(1);
  row.service.receiver = rows.number<ReceiverType>(2);
  row.service.originalNetworkId = rows.number<std::uint16_t>(3);
  row.service.transportStreamId = rows.number<std::uint16_t>(4);
  row.service.serviceId = rows.number<std::uint16_t>(5);
  row.service.name = rows.text(6);
  row.texts.name = rows.text(7);
  row.texts.description = rows.text(8);
  row.texts.age = rows.number<std::uint8_t>(9);
  row.start = rows.integer(10);
  row.end = rows.integer(11);
}

template <typename Row>
void bindCommon(Statement& statement, const Row& row) {
  statement.bind(row.id).bind(row.service.id).bind(static_cast<std::int64_t>(row.service.receiver));
  statement.bind(row.service.originalNetworkId).bind(row.service.transportStreamId).bind(row.service.serviceId);
  statement.bind(row.service.name).bind(row.texts.name).bind(row.texts.description).bind(row.texts.age);
  statement.bind(row.start).bind(row.end);
}

}  // namespace

std::uint32_t nextRecorderId(Database& database) {
  database.execute("UPDATE recorder_id SET last = last + 1");
  return static_cast<std::uint32_t>(database.integer("SELECT last FROM recorder_id"));
}

std::vector<Timer> readTimers(Database& database) {
  Statement rows(database, std::string("SELECT ") + TIMER_COLUMNS + " FROM timer ORDER BY id");
  std::vector<Timer> timers;
  while (rows.step()) {
    Timer& timer = timers.emplace_back();
    readCommon(rows, timer);
    timer.lead = rows.number<std::uint32_t>(12);
    timer.recording = rows.number<std::uint32_t>(13);
  }
  return timers;
}

void writeTimer(Database& database, const Timer& timer) {
  Statement statement(database, std::string("INSERT OR REPLACE INTO timer(") + TIMER_COLUMNS +
                                    ") VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  bindCommon(statement, timer);
  statement.bind(timer.lead).bind(timer.recording).run();
}

void dropTimer(Database& database, std::uint32_t id) {
  Statement(database, "DELETE FROM timer WHERE id = ?").bind(id).run();
}

std::vector<Recording> readRecordings(Database& database) {
  Statement rows(database, std::string("SELECT ") + RECORDING_COLUMNS + " FROM recording ORDER BY id");
  std::vector<Recording> recordings;
  while (rows.step()) {
    Recording& recording = recordings.emplace_back();
    readCommon(rows, recording);
    recording.state = rows.number<Recording::State>(12);
    recording.file = rows.text(13);
    recording.errors = rows.number<std::uint64_t>(14);
  }
  return recordings;
}

void writeRecording(Database& database, const Recording& recording) {
  Statement statement(database, std::string("INSERT OR REPLACE INTO recording(") + RECORDING_COLUMNS +
                                    ") VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  bindCommon(statement, recording);
  statement.bind(static_cast<std::int64_t>(recording.state)).bind(recording.file.string());
  statement.bind(static_cast<std::int64_t>(recording.errors)).run();
}

void dropRecording(Database& database, std::uint32_t id) {
  Statement(database, "DELETE FROM recording WHERE id = ?").bind(id).run();
}

}  // namespace durix
