#include <vlq/host/JsonDocument.h>
#include <vlq/host/reference/AnalyticsStore.h>

#include "host/reference/SqliteDatabase.h"

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
  std::string error;
  database_ = openSqliteDatabase(path, kCreateTable, kBusyTimeoutMilliseconds, error);
  return database_ != nullptr;
}

bool AnalyticsStore::append(const std::string& name, const Json& info, double time) {
  // Invalid UTF-8 in a string is replaced rather than refused, so that every event is kept.
  const std::string infoText = info.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::lock_guard lock(mutex_);
  if (!database_) return false;
  SqliteStatement insert(database_, kInsert);
  return insert && insert.bind(1, name) && insert.bind(2, infoText) && insert.bind(3, time) &&
         insert.run();
}

std::vector<StoredEvent> AnalyticsStore::events() const {
  std::vector<StoredEvent> stored;
  std::lock_guard lock(mutex_);
  if (!database_) return stored;
  SqliteStatement select(database_, kSelect);
  if (!select) return stored;
  while (sqlite3_step(select.get()) == SQLITE_ROW) {
    StoredEvent event;
    event.sequence = select.integer(0);
    event.name = select.text(1);
    event.info = parseJsonDocument(select.text(2)).value_or(nullptr);
    event.time = select.real(3);
    stored.push_back(std::move(event));
  }
  return stored;
}

}  // namespace vlq::reference
