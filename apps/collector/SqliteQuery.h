#pragma once

// A thin layer over SQLite for the results store: prepared statements with named parameters
// ($1, $2, ...) that finalise themselves, and transactions. Every failure throws
// std::runtime_error with SQLite's message, so that one try block covers a whole transaction.

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>

namespace vlq::collector {

class SqliteQuery {
 public:
  SqliteQuery(sqlite3* db, const char* sql);
  ~SqliteQuery() { sqlite3_finalize(statement_); }
  SqliteQuery(const SqliteQuery&) = delete;
  SqliteQuery& operator=(const SqliteQuery&) = delete;

  // Each binds the parameter `name` ("$1"); none binds NULL.
  SqliteQuery& bind(const char* name, const std::string& text);
  SqliteQuery& bind(const char* name, const char* text) { return bind(name, std::string(text)); }
  SqliteQuery& bind(const char* name, std::int64_t number);
  SqliteQuery& bind(const char* name, int number) { return bind(name, std::int64_t{number}); }
  SqliteQuery& bind(const char* name, const std::optional<std::string>& text);
  SqliteQuery& bind(const char* name, const std::optional<std::int64_t>& number);
  SqliteQuery& bind(const char* name, const std::optional<double>& number);

  // True with a row to read, false at the end.
  bool step();
  // Runs a statement that returns no rows, and makes it ready to run again.
  void run();

  // Columns of the current row, numbered from 0.
  std::string text(int column) const;
  std::optional<std::string> optionalText(int column) const;
  std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
  std::optional<std::int64_t> optionalInteger(int column) const;
  std::optional<double> optionalReal(int column) const;

 private:
  bool isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
  int index(const char* name) const;
  SqliteQuery& check(int result);
  [[noreturn]] void fail() const;

  sqlite3* db_;
  sqlite3_stmt* statement_ = nullptr;
};

// Runs `sql`, one or more statements without results.
void executeSql(sqlite3* db, const char* sql);

// Runs `work` in one write transaction; false, with `error` filled, when any of it fails, and
// then nothing of it stays.
template <typename Work>
bool inSqliteTransaction(sqlite3* db, std::string& error, Work&& work) {
  try {
    executeSql(db, "BEGIN IMMEDIATE");
  } catch (const std::exception& e) {
    error = e.what();
    return false;
  }
  try {
    work();
    executeSql(db, "COMMIT");
    return true;
  } catch (const std::exception& e) {
    error = e.what();
    sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    return false;
  }
}

}  // namespace vlq::collector
