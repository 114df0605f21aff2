#include "collector/SqliteResultsStore.h"

#include <sqlite3.h>

#include "collector/PrivateFile.h"
#include "collector/SqlResultsStore.h"
#include "collector/SqlRows.h"
#include "collector/SqliteQuery.h"

namespace vlq::collector {
namespace {

// One SQLite connection, closed with the store.
class SqliteBackend {
 public:
  using Handle = sqlite3*;
  using Query = SqliteQuery;

  explicit SqliteBackend(sqlite3* db) : db_(db) {}
  SqliteBackend(SqliteBackend&& other) noexcept : db_(std::exchange(other.db_, nullptr)) {}
  SqliteBackend& operator=(SqliteBackend&&) = delete;
  ~SqliteBackend() { sqlite3_close(db_); }

  sqlite3* handle() const { return db_; }
  std::int64_t changes() const { return sqlite3_changes(db_); }
  // Ids come in order from one writer at a time, so the responses read are those up to the
  // highest id kept; facts are therefore kept in id order, without gaps.
  static constexpr bool kKeepsFactsInAnyOrder = false;
  std::int64_t lastResponseRead() {
    SqliteQuery last(db_, "SELECT MAX(response_id) FROM result_responses");
    return last.step() ? last.optionalInteger(0).value_or(0) : 0;
  }
  // One statement per row: SQLite runs in this process, so a statement costs no round trip.
  std::vector<std::string> insertRows(const SqlRows& rows, bool tellInserted = false) {
    std::vector<std::string> inserted;
    if (rows.empty()) return inserted;
    std::vector<std::string> parameters;
    std::string values;
    for (std::size_t column = 0; column < rows.columns().size(); ++column) {
      parameters.push_back("$" + std::to_string(column + 1));
      values += (column == 0 ? "" : ", ") + parameters.back();
    }
    const std::string sql = "INSERT INTO " + std::string(rows.table()) + " (" + rows.columnNames() +
                            ") VALUES (" + values + ") " + rows.tail();
    SqliteQuery insert(db_, sql.c_str());
    for (const auto& row : rows.rows()) {
      for (std::size_t column = 0; column < row.size(); ++column)
        insert.bind(parameters[column].c_str(), row[column]);
      insert.run();
      if (tellInserted && sqlite3_changes(db_) > 0) inserted.push_back(row.front().value_or(""));
    }
    return inserted;
  }
  // One process writes the results' file at a time anyway.
  bool beginCatchUp(bool) { return true; }
  void endCatchUp() {}
  template <typename Work>
  bool transaction(std::string& error, Work&& work) {
    return inSqliteTransaction(db_, error, std::forward<Work>(work));
  }

 private:
  sqlite3* db_;
};

}  // namespace

std::unique_ptr<ResultsStore> openSqliteResultsStore(const std::string& path, std::string& error) {
  const std::string name = path.empty() ? ":memory:" : path;
  if (name != ":memory:" && !createPrivately(name, error)) return nullptr;
  sqlite3* db = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  if (sqlite3_open_v2(name.c_str(), &db, flags, nullptr) != SQLITE_OK) {
    error = "cannot open database " + name + ": " + (db ? sqlite3_errmsg(db) : "out of memory");
    sqlite3_close(db);
    return nullptr;
  }
  // Another collector on the same file may hold the write lock for a moment.
  sqlite3_busy_timeout(db, 5000);
  try {
    // Events are kept here and nowhere else: each batch is on disk before it is answered.
    executeSql(db, "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;");
  } catch (const std::exception& e) {
    error = "cannot use database " + name + " for results: " + e.what();
    sqlite3_close(db);
    return nullptr;
  }
  std::string failure;
  const bool made = inSqliteTransaction(db, failure, [db] {
    bool earlierLayout = false;
    {
      SqliteQuery earlier(db, "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = $1");
      earlierLayout = earlier.bind("$1", sql_results::kEarlierLayoutTable).step();
    }  // a table is dropped only when no statement reads the database
    if (earlierLayout) executeSql(db, sql_results::kDropEarlierFacts);
    executeSql(db, sql_results::kResultsSchema);
  });
  if (!made) {
    error = "cannot use database " + name + " for results: " + failure;
    sqlite3_close(db);
    return nullptr;
  }
  return std::make_unique<SqlResultsStore<SqliteBackend>>(SqliteBackend(db));
}

}  // namespace vlq::collector
