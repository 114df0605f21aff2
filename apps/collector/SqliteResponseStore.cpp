#include "collector/SqliteResponseStore.h"

#include <utility>

#include <vlq/host/JsonDocument.h>

#include "collector/PrivateFile.h"

namespace vlq::collector {
namespace {

constexpr const char* kSchema =
    "PRAGMA journal_mode = WAL;"
    "PRAGMA synchronous = FULL;"
    "CREATE TABLE IF NOT EXISTS survey_responses ("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " app_id TEXT NOT NULL,"
    " received_at TEXT NOT NULL,"
    " url TEXT NOT NULL,"
    " status INTEGER NOT NULL,"
    " body TEXT NOT NULL,"
    " idempotency_key TEXT);"
    "CREATE INDEX IF NOT EXISTS survey_responses_app_id ON survey_responses(app_id, id);";
// Databases written before the key was kept lack its column; it is added when they are opened.
constexpr const char* kKeyColumn = "ALTER TABLE survey_responses ADD COLUMN idempotency_key TEXT";
// Keys were once unique across apps; they are unique within an app.
constexpr const char* kKeyIndex =
    "DROP INDEX IF EXISTS survey_responses_key;"
    "CREATE UNIQUE INDEX IF NOT EXISTS survey_responses_app_key"
    " ON survey_responses(app_id, idempotency_key) WHERE idempotency_key IS NOT NULL";

bool hasKeyColumn(sqlite3* database) {
  reference::SqliteStatement columns(database,
                                     "SELECT 1 FROM pragma_table_info('survey_responses')"
                                     " WHERE name = 'idempotency_key'");
  return columns && sqlite3_step(columns.get()) == SQLITE_ROW;
}

}  // namespace

std::unique_ptr<SqliteResponseStore> SqliteResponseStore::open(const std::string& path,
                                                               std::string& error) {
  if (path.empty()) {
    error = "no database given";
    return nullptr;
  }
  if (path != ":memory:" && !createPrivately(path, error)) return nullptr;
  std::string message;
  // Another collector on the same file may hold the write lock for a moment.
  sqlite3* database = reference::openSqliteDatabase(path, kSchema, 5000, message);
  char* failure = nullptr;
  const bool usable = database &&
                      (hasKeyColumn(database) || sqlite3_exec(database, kKeyColumn, nullptr,
                                                              nullptr, &failure) == SQLITE_OK) &&
                      sqlite3_exec(database, kKeyIndex, nullptr, nullptr, &failure) == SQLITE_OK;
  if (!usable) {
    if (database) message = failure ? failure : sqlite3_errmsg(database);
    error = "cannot use database " + path + ": " + message;
    sqlite3_free(failure);
    sqlite3_close(database);
    return nullptr;
  }
  auto store = std::unique_ptr<SqliteResponseStore>(new SqliteResponseStore(database));
  for (const auto* statement :
       {&store->begin_, &store->commit_, &store->rollback_, &store->insert_, &store->findByKey_,
        &store->page_, &store->all_, &store->allOfApp_, &store->after_}) {
    if (!*statement || !**statement) {
      error = "cannot use database " + path + ": " + sqlite3_errmsg(database);
      return nullptr;
    }
  }
  return store;
}

SqliteResponseStore::SqliteResponseStore(sqlite3* database) : database_(database) {
  const auto prepare = [database](const std::string& sql) {
    return std::make_unique<Statement>(database, sql.c_str());
  };
  begin_ = prepare("BEGIN IMMEDIATE");
  commit_ = prepare("COMMIT");
  rollback_ = prepare("ROLLBACK");
  insert_ = prepare(
      "INSERT INTO survey_responses (app_id, received_at, url, status, body, idempotency_key)"
      " VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
  findByKey_ = prepare(std::string("SELECT ") + kStoredColumns +
                       " FROM survey_responses WHERE app_id = ?1 AND idempotency_key = ?2");
  page_ = prepare(
      "SELECT id, body FROM survey_responses WHERE app_id = ?1 AND id > ?2 ORDER BY id LIMIT ?3");
  all_ = prepare(std::string("SELECT ") + kStoredColumns + " FROM survey_responses ORDER BY id");
  allOfApp_ = prepare(std::string("SELECT ") + kStoredColumns +
                      " FROM survey_responses WHERE app_id = ?1 ORDER BY id");
  after_ = prepare(std::string("SELECT ") + kStoredColumns +
                   " FROM survey_responses WHERE id > ?1 ORDER BY id LIMIT ?2");
}

SqliteResponseStore::~SqliteResponseStore() {
  commits_.stop();  // commits with the statements below
  begin_.reset();
  commit_.reset();
  rollback_.reset();
  insert_.reset();
  findByKey_.reset();
  page_.reset();
  all_.reset();
  allOfApp_.reset();
  after_.reset();
  sqlite3_close(database_);
}

void SqliteResponseStore::storeThen(IncomingResponse response,
                                    std::function<void(StoreResult)> done) {
  commits_.store(std::move(response), std::move(done));
}

bool SqliteResponseStore::execute(Statement& statement) {
  const bool ran = statement.run();
  statement.reset();
  return ran;
}

StoreResult SqliteResponseStore::insert(const IncomingResponse& response) {
  StoreResult result;
  Statement& insert = *insert_;
  const bool hasKey = !response.idempotencyKey.empty();
  const bool bound =
      insert.bind(1, response.appId) && insert.bind(2, response.receivedAt) &&
      insert.bind(3, response.url) && insert.bind(4, std::int64_t{response.status}) &&
      sqlite3_bind_text(insert.get(), 5, response.bodyText.data(),
                        static_cast<int>(response.bodyText.size()), SQLITE_STATIC) == SQLITE_OK &&
      (!hasKey || insert.bind(6, response.idempotencyKey));
  const int step = bound ? sqlite3_step(insert.get()) : SQLITE_MISUSE;
  insert.reset();
  if (step == SQLITE_DONE) {
    result.outcome = StoreResult::Outcome::stored;
    result.id = sqlite3_last_insert_rowid(database_);
    result.status = response.status;
    return result;
  }
  if (step == SQLITE_CONSTRAINT && hasKey) {
    Statement& find = *findByKey_;
    if (find.bind(1, response.appId) && find.bind(2, response.idempotencyKey) &&
        sqlite3_step(find.get()) == SQLITE_ROW) {
      result.outcome = find.text(5) == response.bodyText ? StoreResult::Outcome::repeated
                                                         : StoreResult::Outcome::conflict;
      result.id = find.integer(0);
      result.status = static_cast<int>(find.integer(4));
      find.reset();
      return result;
    }
    find.reset();
  }
  result.error = sqlite3_errmsg(database_);
  return result;
}

void SqliteResponseStore::commit(const std::vector<PendingResponse*>& batch) {
  {
    std::lock_guard lock(databaseMutex_);
    std::string failure;
    if (!execute(*begin_)) {
      failure = sqlite3_errmsg(database_);
    } else {
      for (PendingResponse* pending : batch) {
        pending->result = insert(*pending->response);
        if (pending->result.outcome == StoreResult::Outcome::failed) {
          failure = pending->result.error;
          break;
        }
      }
      if (failure.empty() && !execute(*commit_)) failure = sqlite3_errmsg(database_);
      if (!failure.empty()) execute(*rollback_);
    }
    if (!failure.empty()) {
      // Nothing of the batch is kept: every one of its posts is answered as failed.
      for (PendingResponse* pending : batch)
        pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0, failure};
      return;
    }
  }
  // Outside the lock, so that a listener may read the store.
  for (PendingResponse* pending : batch) {
    if (pending->result.outcome != StoreResult::Outcome::stored) continue;
    announceStored(storedRecordOf(std::move(*pending->response), pending->result.id));
  }
}

ResponsePage SqliteResponseStore::page(const std::string& appId, std::int64_t after,
                                       std::size_t limit, std::size_t maxBytes) const {
  std::lock_guard lock(databaseMutex_);
  ResponsePage page;
  Statement& select = *page_;
  std::size_t bytes = 0;
  if (select.bind(1, appId) && select.bind(2, after) &&
      select.bind(3, static_cast<std::int64_t>(limit + 1))) {
    while (sqlite3_step(select.get()) == SQLITE_ROW) {
      const auto size = static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 1));
      if (page.entries.size() == limit || (!page.entries.empty() && bytes + size > maxBytes)) {
        page.more = true;
        break;
      }
      bytes += size;
      page.entries.push_back({select.integer(0), select.text(1)});
    }
  }
  select.reset();
  return page;
}

std::vector<StoredResponse> SqliteResponseStore::all(
    const std::optional<std::string>& appId) const {
  std::lock_guard lock(databaseMutex_);
  Statement& select = appId ? *allOfApp_ : *all_;
  std::vector<StoredResponse> result;
  if (!appId || select.bind(1, *appId)) {
    while (sqlite3_step(select.get()) == SQLITE_ROW)
      result.push_back(storedRecordAt(select));
  }
  select.reset();
  return result;
}

std::vector<StoredResponse> SqliteResponseStore::after(std::int64_t after,
                                                       std::size_t limit) const {
  std::lock_guard lock(databaseMutex_);
  Statement& select = *after_;
  std::vector<StoredResponse> result;
  if (select.bind(1, after) && select.bind(2, static_cast<std::int64_t>(limit))) {
    while (sqlite3_step(select.get()) == SQLITE_ROW)
      result.push_back(storedRecordAt(select));
  }
  select.reset();
  return result;
}

}  // namespace vlq::collector
