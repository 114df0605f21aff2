#include "collector/ResponseStore.h"

#include <utility>

#include <vlq/host/JsonDocument.h>

namespace vlq::collector {
namespace {

constexpr const char* kSchema =
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
constexpr const char* kKeyIndex =
    "CREATE UNIQUE INDEX IF NOT EXISTS survey_responses_key ON survey_responses(idempotency_key)"
    " WHERE idempotency_key IS NOT NULL";
constexpr const char* kColumns = "id, app_id, received_at, url, status, body, idempotency_key";

// A prepared statement that finalizes itself.
class Statement {
 public:
  Statement(sqlite3* db, const char* sql) {
    if (sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr) != SQLITE_OK) statement_ = nullptr;
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  sqlite3_stmt* get() const { return statement_; }
  bool bindText(int index, const std::string& text) {
    return sqlite3_bind_text(statement_, index, text.data(), static_cast<int>(text.size()),
                             SQLITE_TRANSIENT) == SQLITE_OK;
  }
  std::string column(int index) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, index));
    return text ? std::string(text,
                              static_cast<std::size_t>(sqlite3_column_bytes(statement_, index)))
                : std::string();
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

bool hasKeyColumn(sqlite3* db) {
  Statement columns(db,
                    "SELECT 1 FROM pragma_table_info('survey_responses')"
                    " WHERE name = 'idempotency_key'");
  return columns.get() && sqlite3_step(columns.get()) == SQLITE_ROW;
}

// Reads the columns of kColumns from the current row.
StoredResponse recordAt(const Statement& row) {
  StoredResponse stored;
  stored.id = sqlite3_column_int64(row.get(), 0);
  stored.appId = row.column(1);
  stored.receivedAt = row.column(2);
  stored.url = row.column(3);
  stored.status = sqlite3_column_int(row.get(), 4);
  stored.body = parseJsonDocument(row.column(5)).value_or(nullptr);
  stored.idempotencyKey = row.column(6);
  return stored;
}

}  // namespace

std::unique_ptr<ResponseStore> ResponseStore::open(const std::string& path, std::string& error) {
  sqlite3* db = nullptr;
  const std::string name = path.empty() ? ":memory:" : path;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  if (sqlite3_open_v2(name.c_str(), &db, flags, nullptr) != SQLITE_OK) {
    error = "cannot open database " + name + ": " + (db ? sqlite3_errmsg(db) : "out of memory");
    sqlite3_close(db);
    return nullptr;
  }
  // Another collector on the same file may hold the write lock for a moment.
  sqlite3_busy_timeout(db, 5000);
  char* message = nullptr;
  const bool usable =
      sqlite3_exec(db, kSchema, nullptr, nullptr, &message) == SQLITE_OK &&
      (hasKeyColumn(db) || sqlite3_exec(db, kKeyColumn, nullptr, nullptr, &message) == SQLITE_OK) &&
      sqlite3_exec(db, kKeyIndex, nullptr, nullptr, &message) == SQLITE_OK;
  if (!usable) {
    error = "cannot use database " + name + ": " + (message ? message : sqlite3_errmsg(db));
    sqlite3_free(message);
    sqlite3_close(db);
    return nullptr;
  }
  return std::unique_ptr<ResponseStore>(new ResponseStore(db));
}

ResponseStore::~ResponseStore() {
  sqlite3_close(db_);
}

std::optional<std::int64_t> ResponseStore::insert(
    const std::string& appId, const std::string& receivedAt, const std::string& url, int status,
    const std::string& bodyText, const std::string& idempotencyKey, std::string& error) {
  std::lock_guard lock(mutex_);
  Statement statement(db_,
                      "INSERT INTO survey_responses"
                      " (app_id, received_at, url, status, body, idempotency_key)"
                      " VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
  const bool bound = statement.get() && statement.bindText(1, appId) &&
                     statement.bindText(2, receivedAt) && statement.bindText(3, url) &&
                     sqlite3_bind_int(statement.get(), 4, status) == SQLITE_OK &&
                     statement.bindText(5, bodyText) &&
                     (idempotencyKey.empty() ? sqlite3_bind_null(statement.get(), 6) == SQLITE_OK
                                             : statement.bindText(6, idempotencyKey));
  if (!bound || sqlite3_step(statement.get()) != SQLITE_DONE) {
    error = sqlite3_errmsg(db_);
    return std::nullopt;
  }
  return sqlite3_last_insert_rowid(db_);
}

std::optional<StoredResponse> ResponseStore::findByKey(const std::string& idempotencyKey) const {
  std::lock_guard lock(mutex_);
  const std::string sql =
      std::string("SELECT ") + kColumns + " FROM survey_responses WHERE idempotency_key = ?1";
  Statement statement(db_, sql.c_str());
  if (!statement.get() || !statement.bindText(1, idempotencyKey) ||
      sqlite3_step(statement.get()) != SQLITE_ROW) {
    return std::nullopt;
  }
  return recordAt(statement);
}

std::vector<StoredResponse> ResponseStore::list(const std::optional<std::string>& appId) const {
  std::lock_guard lock(mutex_);
  const std::string sql = std::string("SELECT ") + kColumns + " FROM survey_responses" +
                          (appId ? " WHERE app_id = ?1" : "") + " ORDER BY id";
  Statement statement(db_, sql.c_str());
  std::vector<StoredResponse> result;
  if (!statement.get() || (appId && !statement.bindText(1, *appId))) return result;
  while (sqlite3_step(statement.get()) == SQLITE_ROW)
    result.push_back(recordAt(statement));
  return result;
}

}  // namespace vlq::collector
