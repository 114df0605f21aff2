#include "collector/SqliteQuery.h"

#include <stdexcept>

namespace vlq::collector {

SqliteQuery::SqliteQuery(sqlite3* db, const char* sql) : db_(db) {
  if (sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr) != SQLITE_OK) fail();
}

SqliteQuery& SqliteQuery::bind(const char* name, const std::string& text) {
  return check(sqlite3_bind_text(statement_, index(name), text.data(),
                                 static_cast<int>(text.size()), SQLITE_TRANSIENT));
}

SqliteQuery& SqliteQuery::bind(const char* name, std::int64_t number) {
  return check(sqlite3_bind_int64(statement_, index(name), number));
}

SqliteQuery& SqliteQuery::bind(const char* name, const std::optional<std::string>& text) {
  return text ? bind(name, *text) : check(sqlite3_bind_null(statement_, index(name)));
}

SqliteQuery& SqliteQuery::bind(const char* name, const std::optional<std::int64_t>& number) {
  return number ? bind(name, *number) : check(sqlite3_bind_null(statement_, index(name)));
}

SqliteQuery& SqliteQuery::bind(const char* name, const std::optional<double>& number) {
  return check(number ? sqlite3_bind_double(statement_, index(name), *number)
                      : sqlite3_bind_null(statement_, index(name)));
}

bool SqliteQuery::step() {
  const int result = sqlite3_step(statement_);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) fail();
  return false;
}

void SqliteQuery::run() {
  step();
  sqlite3_reset(statement_);
}

std::string SqliteQuery::text(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
  if (!bytes) return {};
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::optional<std::string> SqliteQuery::optionalText(int column) const {
  if (isNull(column)) return std::nullopt;
  return text(column);
}

std::optional<std::int64_t> SqliteQuery::optionalInteger(int column) const {
  if (isNull(column)) return std::nullopt;
  return integer(column);
}

std::optional<double> SqliteQuery::optionalReal(int column) const {
  if (isNull(column)) return std::nullopt;
  return sqlite3_column_double(statement_, column);
}

int SqliteQuery::index(const char* name) const {
  const int found = sqlite3_bind_parameter_index(statement_, name);
  if (found == 0) throw std::logic_error(std::string("no SQL parameter ") + name);
  return found;
}

SqliteQuery& SqliteQuery::check(int result) {
  if (result != SQLITE_OK) fail();
  return *this;
}

void SqliteQuery::fail() const {
  throw std::runtime_error(sqlite3_errmsg(db_));
}

void executeSql(sqlite3* db, const char* sql) {
  char* message = nullptr;
  if (sqlite3_exec(db, sql, nullptr, nullptr, &message) != SQLITE_OK) {
    std::string text = message ? message : sqlite3_errmsg(db);
    sqlite3_free(message);
    throw std::runtime_error(text);
  }
}

}  // namespace vlq::collector
