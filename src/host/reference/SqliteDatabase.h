#pragma once

// The small SQLite layer under the host's stores: opening a database file for one connection
// shared by several threads, and prepared statements that finalise themselves.

#include <sqlite3.h>

#include <cstdint>
#include <string>

namespace vlq::reference {

// Opens (creating it and its directory when needed) the database at `path`, or an in-memory one
// for ":memory:", with a busy timeout of `busyMilliseconds`, and runs `schema`. Returns null and
// fills `error` when the file cannot be opened or is not a usable database.
sqlite3* openSqliteDatabase(const std::string& path, const char* schema, int busyMilliseconds,
                            std::string& error);

// A prepared statement, finalised when it goes out of scope; false when SQLite refused the SQL.
class SqliteStatement {
 public:
  SqliteStatement(sqlite3* database, const char* sql);
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;
  ~SqliteStatement();

  sqlite3_stmt* get() const { return statement_; }
  explicit operator bool() const { return statement_ != nullptr; }

  // Parameters are numbered from 1; each returns false when SQLite refuses the value.
  bool bind(int index, const std::string& text);
  bool bind(int index, std::int64_t number);
  bool bind(int index, double number);
  // One step of a statement that returns no rows; true when it ran to its end.
  bool run();
  // Makes the statement ready to run again, with no parameters bound.
  void reset();

  // Columns are numbered from 0, for the row the last sqlite3_step produced.
  std::string text(int column) const;
  std::int64_t integer(int column) const;
  double real(int column) const;
  bool isNull(int column) const;

 private:
  sqlite3_stmt* statement_ = nullptr;
};

}  // namespace vlq::reference
