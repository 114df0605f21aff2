#include "host/reference/AnalyticsStore.h"

#include <sqlite3.h>

#include <filesystem>

#include "host/JsonDocument.h"

namespace vlq::reference {

namespace {

constexpr const char* kCreateTable =
    "CREATE TABLE IF NOT EXISTS analytics_events ("
    " sequence INTEGER PRIMARY KEY AUTOINCREMENT,"
    " name TEXT NOT NULL,"
    " info TEXT NOT NULL,"
    " logged_at REAL NOT NULL)";
constexpr const char* kInsert =
    "INSERT INTO analytics_events (name, info, logged_at) VALUES (?, ?, ?)";
constexpr const char* kSelect =
    "SELECT sequence, name, info, logged_at FROM analytics_events ORDER BY sequence";
// Lets a second connection (another host on the same file, or a tool reading it) wait for the
// lock instead of failing at once.
constexpr int kBusyTimeoutMilliseconds = 2000;

// Finalises a prepared statement when it goes out of scope.
class Statement {
 public:
  Statement(sqlite3* database, const char* sql) {
    if (sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr) != SQLITE_OK) {
      sqlite3_finalize(statement_);
      statement_ = nullptr;
    }
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement() { sqlite3_finalize(statement_); }

  sqlite3_stmt* get() const { return statement_; }
  explicit operator bool() const { return statement_ != nullptr; }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

std::string columnText(sqlite3_stmt* statement, int column) {
  const auto* text = sqlite3_column_text(statement, column);
  if (!text) return {};
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

}  // namespace

AnalyticsStore::AnalyticsStore(const std::string& path) {
  persistent_ = !path.empty() && open(path);
  if (!persistent_) open(":memory:");
}

AnalyticsStore::~AnalyticsStore() {
  sqlite3_close(database_);
}

bool AnalyticsStore::open(const std::string& path) {
  sqlite3_close(database_);
  database_ = nullptr;
  if (path != ":memory:") {
    std::error_code error;
    const std::filesystem::path file(path);
    if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path(), error);
  }
  sqlite3* database = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  if (sqlite3_open_v2(path.c_str(), &database, flags, nullptr) != SQLITE_OK ||
      sqlite3_busy_timeout(database, kBusyTimeoutMilliseconds) != SQLITE_OK ||
      sqlite3_exec(database, kCreateTable, nullptr, nullptr, nullptr) != SQLITE_OK) {
    sqlite3_close(database);
    return false;
  }
  database_ = database;
  return true;
}

bool AnalyticsStore::append(const std::string& name, const Json& info, double time) {
  // Invalid UTF-8 in a string is replaced rather than refused, so that every event is kept.
  const std::string infoText = info.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::lock_guard lock(mutex_);
  if (!database_) return false;
  Statement insert(database_, kInsert);
  if (!insert) return false;
  sqlite3_bind_text(insert.get(), 1, name.data(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
  sqlite3_bind_text(insert.get(), 2, infoText.data(), static_cast<int>(infoText.size()),
                    SQLITE_TRANSIENT);
  sqlite3_bind_double(insert.get(), 3, time);
  return sqlite3_step(insert.get()) == SQLITE_DONE;
}

std::vector<StoredEvent> AnalyticsStore::events() const {
  std::vector<StoredEvent> stored;
  std::lock_guard lock(mutex_);
  if (!database_) return stored;
  Statement select(database_, kSelect);
  if (!select) return stored;
  while (sqlite3_step(select.get()) == SQLITE_ROW) {
    StoredEvent event;
    event.sequence = sqlite3_column_int64(select.get(), 0);
    event.name = columnText(select.get(), 1);
    event.info = parseJsonDocument(columnText(select.get(), 2)).value_or(nullptr);
    event.time = sqlite3_column_double(select.get(), 3);
    stored.push_back(std::move(event));
  }
  return stored;
}

}  // namespace vlq::reference
