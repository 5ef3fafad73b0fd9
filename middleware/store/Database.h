#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace durix {

class Database;

/// One prepared SQL statement. Values are bound from the left; columns are read while step() says that there is a row.
/// Every operation throws Failure when the database fails. Lives shorter than its database; the user's lock guards
/// both.
class Statement {
 public:
  Statement(Database& database, std::string_view sql);
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement();

  Statement& bind(std::int64_t value);
  Statement& bind(std::string_view value);
  Statement& bind(std::optional<std::int64_t> value);  // NULL for none

  /// Goes to the next row; false when there is none (more).
  bool step();

  /// Runs a statement that gives no rows, and makes it ready to be bound and run again.
  void run();

  std::int64_t integer(int column) const;
  std::string text(int column) const;
  bool isNull(int column) const;

  template <typename T>
  T number(int column) const {
    return static_cast<T>(integer(column));
  }

 private:
  void check(int result) const;

  sqlite3* _connection;
  sqlite3_stmt* _statement = nullptr;
  int _bound = 0;
};

/// One connection to a database file, this process's alone while it is open. Used by one thread at a time.
class Database {
 public:
  enum class Mode : std::uint8_t { Existing, Create };

  /// Throws Failure: Busy when another process has the database open, DatabaseDamaged or Failed otherwise.
  Database(const std::filesystem::path& file, Mode mode);
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database();

  void execute(const std::string& sql);
  std::int64_t integer(std::string_view sql);  // the first value of the first row; 0 without a row
  std::int64_t lastInsertId() const;

 private:
  friend class Statement;
  sqlite3* _connection = nullptr;
};

/// Everything between construction and commit() happens, or nothing of it.
class Transaction {
 public:
  explicit Transaction(Database& database);
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction();

  /// Durable on return.
  void commit();

 private:
  Database& _database;
  bool _isOpen = true;
};

}  // namespace durix
