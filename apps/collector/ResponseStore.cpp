#include "collector/ResponseStore.h"

#include <utility>

#include "host/JsonDocument.h"

namespace vlq::collector {
namespace {

constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS survey_responses ("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " app_id TEXT NOT NULL,"
    " received_at TEXT NOT NULL,"
    " url TEXT NOT NULL,"
    " status INTEGER NOT NULL,"
    " body TEXT NOT NULL);"
    "CREATE INDEX IF NOT EXISTS survey_responses_app_id ON survey_responses(app_id, id);";

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
  if (sqlite3_exec(db, kSchema, nullptr, nullptr, &message) != SQLITE_OK) {
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

std::optional<std::int64_t> ResponseStore::insert(const std::string& appId,
                                                  const std::string& receivedAt,
                                                  const std::string& url, int status,
                                                  const std::string& bodyText, std::string& error) {
  std::lock_guard lock(mutex_);
  Statement statement(db_,
                      "INSERT INTO survey_responses (app_id, received_at, url, status, body)"
                      " VALUES (?1, ?2, ?3, ?4, ?5)");
  const bool bound = statement.get() && statement.bindText(1, appId) &&
                     statement.bindText(2, receivedAt) && statement.bindText(3, url) &&
                     sqlite3_bind_int(statement.get(), 4, status) == SQLITE_OK &&
                     statement.bindText(5, bodyText);
  if (!bound || sqlite3_step(statement.get()) != SQLITE_DONE) {
    error = sqlite3_errmsg(db_);
    return std::nullopt;
  }
  return sqlite3_last_insert_rowid(db_);
}

std::vector<StoredResponse> ResponseStore::list(const std::optional<std::string>& appId) const {
  std::lock_guard lock(mutex_);
  Statement statement(db_, appId ? "SELECT id, app_id, received_at, url, status, body"
                                   " FROM survey_responses WHERE app_id = ?1 ORDER BY id"
                                 : "SELECT id, app_id, received_at, url, status, body"
                                   " FROM survey_responses ORDER BY id");
  std::vector<StoredResponse> result;
  if (!statement.get() || (appId && !statement.bindText(1, *appId))) return result;
  while (sqlite3_step(statement.get()) == SQLITE_ROW) {
    StoredResponse stored;
    stored.id = sqlite3_column_int64(statement.get(), 0);
    stored.appId = statement.column(1);
    stored.receivedAt = statement.column(2);
    stored.url = statement.column(3);
    stored.status = sqlite3_column_int(statement.get(), 4);
    stored.body = parseJsonDocument(statement.column(5)).value_or(nullptr);
    result.push_back(std::move(stored));
  }
  return result;
}

}  // namespace vlq::collector
