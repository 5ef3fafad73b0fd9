#include "middleware/store/Database.h"

#include <sqlite3.h>

#include "middleware/api/Failure.h"
#include "middleware/portability/Log.h"

namespace durix {
namespace {

Code codeOf(int result) {
  switch (result & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return Code::Busy;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return Code::DatabaseDamaged;
    case SQLITE_NOMEM:
      return Code::OutOfMemory;
    default:
      return Code::Failed;
  }
}

[[noreturn]] void fail(sqlite3* connection, int result) {
  throw Failure(codeOf(result), connection == nullptr ? sqlite3_errstr(result) : sqlite3_errmsg(connection));
}

}  // namespace

Statement::Statement(Database& database, std::string_view sql) : _connection(database._connection) {
  check(sqlite3_prepare_v2(_connection, sql.data(), static_cast<int>(sql.size()), &_statement, nullptr));
}

Statement::~Statement() {
  sqlite3_finalize(_statement);
}

Statement& Statement::bind(std::int64_t value) {
  check(sqlite3_bind_int64(_statement, ++_bound, value));
  return *this;
}

Statement& Statement::bind(std::string_view value) {
  // SQLITE_TRANSIENT, written without its cast from an integer
  static const auto copied = reinterpret_cast<sqlite3_destructor_type>(-1);  // NOLINT(performance-no-int-to-ptr)
  check(sqlite3_bind_text(_statement, ++_bound, value.data(), static_cast<int>(value.size()), copied));
  return *this;
}

Statement& Statement::bind(std::optional<std::int64_t> value) {
  if (value) return bind(*value);
  check(sqlite3_bind_null(_statement, ++_bound));
  return *this;
}

bool Statement::step() {
  const int result = sqlite3_step(_statement);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) fail(_connection, result);
  return false;
}

void Statement::run() {
  while (step()) continue;
  sqlite3_reset(_statement);
  _bound = 0;
}

std::int64_t Statement::integer(int column) const {
  return sqlite3_column_int64(_statement, column);
}

std::string Statement::text(int column) const {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(_statement, column));
  if (text == nullptr) return {};
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(_statement, column))};
}

bool Statement::isNull(int column) const {
  return sqlite3_column_type(_statement, column) == SQLITE_NULL;
}

void Statement::check(int result) const {
  if (result != SQLITE_OK) fail(_connection, result);
}

Database::Database(const std::filesystem::path& file, Mode mode) {
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (mode == Mode::Create ? SQLITE_OPEN_CREATE : 0);
  const int result = sqlite3_open_v2(file.c_str(), &_connection, flags, nullptr);
  if (result == SQLITE_OK) return;
  sqlite3_close(_connection);
  throw Failure(codeOf(result), sqlite3_errstr(result));
}

Database::~Database() {
  // Only statements that are still alive could keep it open; they are told to live shorter.
  if (sqlite3_close(_connection) != SQLITE_OK) logLine("store: the database could not be closed");
}

void Database::execute(const std::string& sql) {
  const int result = sqlite3_exec(_connection, sql.c_str(), nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) fail(_connection, result);
}

std::int64_t Database::integer(std::string_view sql) {
  Statement statement(*this, sql);
  return statement.step() ? statement.integer(0) : 0;
}

std::int64_t Database::lastInsertId() const {
  return sqlite3_last_insert_rowid(_connection);
}

Transaction::Transaction(Database& database) : _database(database) {
  _database.execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  if (!_isOpen) return;
  try {
    _database.execute("ROLLBACK");
  } catch (...) {
    logLine("store: a change could not be taken back");  // SQLite takes it back when the file is opened again
  }
}

void Transaction::commit() {
  _database.execute("COMMIT");
  _isOpen = false;
}

}  // namespace durix
