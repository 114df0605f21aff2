#include "host/reference/SqliteDatabase.h"

#include <filesystem>

namespace vlq::reference {

sqlite3* openSqliteDatabase(const std::string& path, const char* schema, int busyMilliseconds,
                            std::string& error) {
  if (path != ":memory:") {
    std::error_code ignored;
    const std::filesystem::path file(path);
    if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path(), ignored);
  }
  sqlite3* database = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  if (sqlite3_open_v2(path.c_str(), &database, flags, nullptr) != SQLITE_OK) {
    error = database ? sqlite3_errmsg(database) : "out of memory";
    sqlite3_close(database);
    return nullptr;
  }
  char* message = nullptr;
  if (sqlite3_busy_timeout(database, busyMilliseconds) != SQLITE_OK ||
      sqlite3_exec(database, schema, nullptr, nullptr, &message) != SQLITE_OK) {
    error = message ? message : sqlite3_errmsg(database);
    sqlite3_free(message);
    sqlite3_close(database);
    return nullptr;
  }
  return database;
}

SqliteStatement::SqliteStatement(sqlite3* database, const char* sql) {
  if (!database || sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr) != SQLITE_OK) {
    sqlite3_finalize(statement_);
    statement_ = nullptr;
  }
}

SqliteStatement::~SqliteStatement() {
  sqlite3_finalize(statement_);
}

bool SqliteStatement::bind(int index, const std::string& text) {
  return sqlite3_bind_text(statement_, index, text.data(), static_cast<int>(text.size()),
                           SQLITE_TRANSIENT) == SQLITE_OK;
}

bool SqliteStatement::bind(int index, std::int64_t number) {
  return sqlite3_bind_int64(statement_, index, number) == SQLITE_OK;
}

bool SqliteStatement::bind(int index, double number) {
  return sqlite3_bind_double(statement_, index, number) == SQLITE_OK;
}

bool SqliteStatement::run() {
  return sqlite3_step(statement_) == SQLITE_DONE;
}

void SqliteStatement::reset() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

std::string SqliteStatement::text(int column) const {
  const auto* bytes = sqlite3_column_text(statement_, column);
  if (!bytes) return {};
  return {reinterpret_cast<const char*>(bytes),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::int64_t SqliteStatement::integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

double SqliteStatement::real(int column) const {
  return sqlite3_column_double(statement_, column);
}

bool SqliteStatement::isNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

}  // namespace vlq::reference
