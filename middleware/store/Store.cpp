#include "middleware/store/Store.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <system_error>
#include <tuple>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/store/CatalogueTables.h"
#include "middleware/store/EventTables.h"
#include "middleware/store/Feeds.h"
#include "middleware/store/RecordingTables.h"
#include "middleware/store/TimeShifts.h"

namespace durix {
namespace {

constexpr std::int64_t APPLICATION_ID = 0x64757278;  // "durx", so that no other program's database is taken for ours

const char* const SETTINGS_SCHEMA = R"(
CREATE TABLE property(number INTEGER PRIMARY KEY, value TEXT NOT NULL) STRICT;
CREATE TABLE selection(one INTEGER PRIMARY KEY CHECK(one = 1), receiver INTEGER NOT NULL, source TEXT NOT NULL,
                       options TEXT NOT NULL) STRICT;
)";

// The tables, version by version: a database of version N has the first N entries. What has been in use never changes;
// more tables and changed ones are a new entry at the end.
const std::array SCHEMA{std::string(SETTINGS_SCHEMA) + CATALOGUE_SCHEMA, std::string(TIME_SHIFT_SCHEMA),
                        std::string(EVENT_SCHEMA), std::string(RECORDING_SCHEMA)};
constexpr auto SCHEMA_VERSION = static_cast<std::int64_t>(std::tuple_size_v<decltype(SCHEMA)>);

// Brings the tables from a version to the newest, within the caller's transaction.
void update(Database& database, std::int64_t version) {
  for (; version < SCHEMA_VERSION; ++version) database.execute(SCHEMA.at(static_cast<std::size_t>(version)));
  database.execute("PRAGMA user_version = " + std::to_string(SCHEMA_VERSION));
}

void syncDirectory(const std::filesystem::path& directory) {
  const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

// A new database comes into being under another name and is moved to its place when it is whole: whatever stands there
// and is not whole has been damaged later.
void create(const std::filesystem::path& file) {
  auto unfinished = file;
  unfinished += ".new";
  std::filesystem::remove(unfinished);
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {  // of a database that somebody took away
    auto leftover = file;
    leftover += suffix;
    std::filesystem::remove(leftover);
  }
  {
    Database database(unfinished, Database::Mode::Create);
    database.execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
    Transaction transaction(database);
    database.execute("PRAGMA application_id = " + std::to_string(APPLICATION_ID));
    update(database, 0);
    transaction.commit();
  }
  std::filesystem::rename(unfinished, file);
  syncDirectory(file.parent_path());
}

std::string quoted(const std::filesystem::path& file) {
  return "'" + file.string() + "'";
}

// Looks only, and gives the version; throws when the database is not one to work on.
std::int64_t check(Database& database, const std::filesystem::path& file) {
  const auto version = database.integer("PRAGMA user_version");
  if (database.integer("PRAGMA application_id") != APPLICATION_ID || version < 1) {
    throw Failure(Code::DatabaseDamaged, quoted(file) + " is damaged, or no database of this middleware");
  }
  if (version > SCHEMA_VERSION) {
    throw Failure(Code::DatabaseNewer, quoted(file) + " was written by a newer version (" + std::to_string(version) +
                                           ", known is " + std::to_string(SCHEMA_VERSION) + ")");
  }
  Statement findings(database, "PRAGMA quick_check(1)");
  if (!findings.step() || findings.text(0) != "ok") {
    std::string finding = findings.text(0);
    std::replace(finding.begin(), finding.end(), '\n', ' ');
    throw Failure(Code::DatabaseDamaged, quoted(file) + " is damaged: " + finding);
  }
  return version;
}

std::unique_ptr<Database> open(const std::filesystem::path& file) {
  const auto status = std::filesystem::status(file);
  if (!std::filesystem::is_regular_file(status) || std::filesystem::file_size(file) == 0) {
    throw Failure(Code::DatabaseDamaged, quoted(file) + " is damaged: it is empty or no file");
  }
  auto database = std::make_unique<Database>(file, Database::Mode::Existing);
  // This process's alone: two of them would not see each other's services.
  database->execute("PRAGMA locking_mode = EXCLUSIVE; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
  if (const auto version = check(*database, file); version < SCHEMA_VERSION) {
    Transaction transaction(*database);
    update(*database, version);
    transaction.commit();
  }
  return database;
}

}  // namespace

Store::Store(const std::filesystem::path& directory) {
  std::error_code error;
  if (!std::filesystem::is_directory(directory, error) || ::access(directory.c_str(), R_OK | W_OK | X_OK) != 0) {
    throw Failure(Code::DataDirectory, "the data directory " + quoted(directory) + " is missing or cannot be written");
  }
  const auto file = directory / "durix.db";
  try {
    if (!std::filesystem::exists(std::filesystem::symlink_status(file))) create(file);
    _database = open(file);
    _catalogue = readCatalogue(*_database);
  } catch (const Failure& failure) {
    std::string text = failure.what();
    if (text.find(file.string()) == std::string::npos) text = "the database " + quoted(file) + ": " + text;
    throw Failure(failure.code(), text);
  } catch (const std::filesystem::filesystem_error& failure) {
    throw Failure(Code::DataDirectory, failure.what());
  }
}

Store::~Store() = default;

Database& Store::database() {
  if (_database == nullptr) throw Failure(Code::NoInstance);
  return *_database;
}

std::optional<std::string> Store::property(durix_property number) {
  const std::scoped_lock lock(_mutex);
  Statement row(database(), "SELECT value FROM property WHERE number = ?");
  if (!row.bind(number).step()) return std::nullopt;
  return row.text(0);
}

void Store::setProperty(durix_property number, std::string_view value) {
  const std::scoped_lock lock(_mutex);
  Statement row(database(), "INSERT OR REPLACE INTO property(number, value) VALUES(?, ?)");
  row.bind(number).bind(value).run();
}

std::optional<Store::Selection> Store::selection() {
  const std::scoped_lock lock(_mutex);
  Statement row(database(), "SELECT receiver, source, options FROM selection");
  if (!row.step()) return std::nullopt;
  return Selection{row.number<ReceiverType>(0), row.text(1), row.text(2)};
}

void Store::setSelection(const Selection& selection) {
  const std::scoped_lock lock(_mutex);
  Statement row(database(), "INSERT OR REPLACE INTO selection(one, receiver, source, options) VALUES(1, ?, ?, ?)");
  row.bind(static_cast<std::int64_t>(selection.type)).bind(selection.source).bind(selection.options).run();
}

void Store::forgetSelection() {
  const std::scoped_lock lock(_mutex);
  Transaction transaction(database());
  database().execute("DELETE FROM selection");
  Statement(database(), "DELETE FROM property WHERE number = ?").bind(DURIX_PROPERTY_RECEIVER_ADDRESS).run();
  transaction.commit();
}

std::shared_ptr<const Catalogue> Store::catalogue() const {
  const std::scoped_lock lock(_catalogueMutex);
  return _catalogue;
}

Store::Change Store::takeScan(const ScanYield& yield) {
  const std::scoped_lock lock(_mutex);
  const auto before = catalogue();
  Transaction transaction(database());
  const auto changesBefore = database().integer("SELECT total_changes()");
  writeScan(database(), *before, yield);
  const bool hasChanged = database().integer("SELECT total_changes()") != changesBefore;
  transaction.commit();
  auto after = readCatalogue(database());
  const bool isNewProvider = after->providers != before->providers;
  const std::scoped_lock catalogueLock(_catalogueMutex);
  _catalogue = std::move(after);
  return {isNewProvider, hasChanged};
}

bool Store::takeProgram(std::uint32_t service, const Program& program) {
  const auto feeds = feedsOf(program.components);
  const auto isKnown = [&](const Catalogue& catalogue) {
    const auto* const known = catalogue.service(service);
    return known == nullptr || areSame(known->feeds, feeds);
  };
  if (isKnown(*catalogue())) return false;
  const std::scoped_lock lock(_mutex);
  const auto before = catalogue();
  if (isKnown(*before)) return false;
  Transaction transaction(database());
  writeFeeds(database(), service, feeds);
  transaction.commit();
  auto after = readCatalogue(database());
  const std::scoped_lock catalogueLock(_catalogueMutex);
  _catalogue = std::move(after);
  return true;
}

void Store::close() {
  const std::scoped_lock lock(_mutex);
  _database.reset();
}

}  // namespace durix
