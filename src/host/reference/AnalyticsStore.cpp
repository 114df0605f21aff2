#include <vlq/host/JsonDocument.h>
#include <vlq/host/reference/AnalyticsStore.h>

#include "host/reference/DeviceIdentity.h"
#include "host/reference/SqliteDatabase.h"

namespace vlq::reference {

namespace {

constexpr const char* kCreateTables =
    "CREATE TABLE IF NOT EXISTS analytics_events ("
    " sequence INTEGER PRIMARY KEY AUTOINCREMENT,"
    " name TEXT NOT NULL,"
    " info TEXT NOT NULL,"
    " logged_at REAL NOT NULL,"
    " session_id TEXT);"
    "CREATE TABLE IF NOT EXISTS event_uploads ("
    " id INTEGER PRIMARY KEY CHECK (id = 1),"
    " stream TEXT NOT NULL,"
    " uploaded_through INTEGER NOT NULL,"
    " pending_first INTEGER,"
    " pending_last INTEGER)";
// Databases written before sessions were kept lack the column; it is added when they are opened.
constexpr const char* kHasSessionColumn =
    "SELECT 1 FROM pragma_table_info('analytics_events') WHERE name = 'session_id'";
constexpr const char* kAddSessionColumn = "ALTER TABLE analytics_events ADD COLUMN session_id TEXT";
constexpr const char* kInsert =
    "INSERT INTO analytics_events (name, info, logged_at, session_id) VALUES (?, ?, ?, ?)";
constexpr const char* kSelect =
    "SELECT sequence, name, info, logged_at, session_id FROM analytics_events"
    " WHERE sequence > ? ORDER BY sequence LIMIT ?";
// Lets a second connection (another host on the same file, or a tool reading it) wait for the
// lock instead of failing at once.
constexpr int kBusyTimeoutMilliseconds = 2000;

// Up to `limit` events after `after`, oldest first; a negative limit reads them all.
std::vector<StoredEvent> selectEvents(sqlite3* database, std::int64_t after, std::int64_t limit) {
  std::vector<StoredEvent> stored;
  SqliteStatement rows(database, kSelect);
  if (!rows || !rows.bind(1, after) || !rows.bind(2, limit)) return stored;
  while (sqlite3_step(rows.get()) == SQLITE_ROW) {
    StoredEvent event;
    event.sequence = rows.integer(0);
    event.name = rows.text(1);
    event.info = parseJsonDocument(rows.text(2)).value_or(nullptr);
    event.time = rows.real(3);
    event.sessionId = rows.text(4);
    stored.push_back(std::move(event));
  }
  return stored;
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
  std::string error;
  database_ = openSqliteDatabase(path, kCreateTables, kBusyTimeoutMilliseconds, error);
  if (!database_) return false;
  SqliteStatement hasColumn(database_, kHasSessionColumn);
  const bool current = hasColumn && sqlite3_step(hasColumn.get()) == SQLITE_ROW;
  if (current ||
      sqlite3_exec(database_, kAddSessionColumn, nullptr, nullptr, nullptr) == SQLITE_OK) {
    return true;
  }
  sqlite3_close(database_);
  database_ = nullptr;
  return false;
}

bool AnalyticsStore::append(const std::string& name, const Json& info, double time,
                            const std::string& sessionId) {
  // Invalid UTF-8 in a string is replaced rather than refused, so that every event is kept.
  const std::string infoText = info.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::lock_guard lock(mutex_);
  if (!database_) return false;
  SqliteStatement insert(database_, kInsert);
  return insert && insert.bind(1, name) && insert.bind(2, infoText) && insert.bind(3, time) &&
         insert.bind(4, sessionId) && insert.run();
}

std::vector<StoredEvent> AnalyticsStore::events() const {
  std::lock_guard lock(mutex_);
  if (!database_) return {};
  return selectEvents(database_, 0, -1);
}

std::vector<StoredEvent> AnalyticsStore::eventsAfter(std::int64_t sequence,
                                                     std::size_t limit) const {
  std::lock_guard lock(mutex_);
  if (!database_) return {};
  return selectEvents(database_, sequence, static_cast<std::int64_t>(limit));
}

std::optional<EventUploadLedger> AnalyticsStore::uploadLedger() {
  std::lock_guard lock(mutex_);
  if (!database_) return std::nullopt;
  SqliteStatement create(database_,
                         "INSERT INTO event_uploads (id, stream, uploaded_through)"
                         " VALUES (1, ?, 0) ON CONFLICT (id) DO NOTHING");
  if (!create || !create.bind(1, makeRandomUuid()) || !create.run()) return std::nullopt;
  SqliteStatement read(database_,
                       "SELECT stream, uploaded_through, pending_first, pending_last"
                       " FROM event_uploads WHERE id = 1");
  if (!read || sqlite3_step(read.get()) != SQLITE_ROW) return std::nullopt;
  EventUploadLedger ledger;
  ledger.stream = read.text(0);
  ledger.uploadedThrough = read.integer(1);
  if (!read.isNull(2) && !read.isNull(3)) ledger.pending = {{read.integer(2), read.integer(3)}};
  return ledger;
}

bool AnalyticsStore::beginUpload(std::int64_t first, std::int64_t last) {
  std::lock_guard lock(mutex_);
  SqliteStatement update(
      database_, "UPDATE event_uploads SET pending_first = ?, pending_last = ? WHERE id = 1");
  return update && update.bind(1, first) && update.bind(2, last) && update.run() &&
         sqlite3_changes(database_) == 1;
}

bool AnalyticsStore::finishUpload(std::int64_t last) {
  std::lock_guard lock(mutex_);
  SqliteStatement update(database_,
                         "UPDATE event_uploads SET uploaded_through = ?, pending_first = NULL,"
                         " pending_last = NULL WHERE id = 1");
  return update && update.bind(1, last) && update.run() && sqlite3_changes(database_) == 1;
}

}  // namespace vlq::reference
