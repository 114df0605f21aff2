#include <algorithm>
#include <utility>

#include <vlq/host/JsonValue.h>
#include <vlq/host/reference/OutboxStore.h>

#include "host/reference/SqliteDatabase.h"

namespace vlq::reference {

namespace {

constexpr const char* kSchema =
    "PRAGMA journal_mode = WAL;"
    "PRAGMA synchronous = NORMAL;"
    "CREATE TABLE IF NOT EXISTS outbox ("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " idempotency_key TEXT NOT NULL UNIQUE,"
    " url TEXT NOT NULL,"
    " headers TEXT NOT NULL,"
    " body TEXT NOT NULL,"
    " queued_at REAL NOT NULL,"
    " attempts INTEGER NOT NULL DEFAULT 0,"
    " next_attempt_at REAL NOT NULL,"
    " last_error TEXT NOT NULL DEFAULT '');"
    "CREATE TABLE IF NOT EXISTS dead_letters ("
    " id INTEGER PRIMARY KEY,"
    " idempotency_key TEXT NOT NULL,"
    " url TEXT NOT NULL,"
    " headers TEXT NOT NULL,"
    " body TEXT NOT NULL,"
    " queued_at REAL NOT NULL,"
    " attempts INTEGER NOT NULL,"
    " status INTEGER,"
    " reason TEXT NOT NULL,"
    " dead_at REAL NOT NULL);";

constexpr const char* kEntryColumns =
    "id, idempotency_key, url, headers, body, queued_at, attempts, next_attempt_at";

// The outbox is written from the plug-in's thread: never wait long for another connection.
constexpr int kBusyTimeoutMilliseconds = 250;

std::string headersText(const VLQHeaderFields& headers) {
  Json object = Json::object();
  for (const auto& [name, value] : headers)
    object[name] = value;
  return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

VLQHeaderFields headersFrom(const std::string& text) {
  VLQHeaderFields headers;
  const Json object = Json::parse(text, nullptr, false);
  if (!object.is_object()) return headers;
  for (const auto& [name, value] : object.items()) {
    if (value.is_string()) headers[name] = value.get<std::string>();
  }
  return headers;
}

// Reads the entry columns (kEntryColumns) of the current row.
OutboxEntry entryAt(const SqliteStatement& row) {
  OutboxEntry entry;
  entry.id = row.integer(0);
  entry.key = row.text(1);
  entry.url = row.text(2);
  entry.headers = headersFrom(row.text(3));
  entry.body = row.text(4);
  entry.queuedAt = row.real(5);
  entry.attempts = static_cast<int>(row.integer(6));
  entry.nextAttemptAt = row.real(7);
  return entry;
}

bool limitSize(sqlite3* database, std::int64_t limitBytes) {
  SqliteStatement pageSize(database, "PRAGMA page_size");
  if (!pageSize || sqlite3_step(pageSize.get()) != SQLITE_ROW || pageSize.integer(0) <= 0) {
    return false;
  }
  const std::int64_t pages = std::max<std::int64_t>(1, limitBytes / pageSize.integer(0));
  const std::string pragma = "PRAGMA max_page_count = " + std::to_string(pages);
  return sqlite3_exec(database, pragma.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

}  // namespace

std::unique_ptr<OutboxStore> OutboxStore::open(const std::string& path, std::int64_t limitBytes,
                                               std::string& error) {
  sqlite3* database = openSqliteDatabase(path, kSchema, kBusyTimeoutMilliseconds, error);
  if (!database) return nullptr;
  if (!limitSize(database, limitBytes)) {
    error = sqlite3_errmsg(database);
    sqlite3_close(database);
    return nullptr;
  }
  return std::unique_ptr<OutboxStore>(new OutboxStore(database));
}

OutboxStore::~OutboxStore() {
  sqlite3_close(database_);
}

bool OutboxStore::add(OutboxEntry& entry, std::string& error) {
  std::lock_guard lock(mutex_);
  SqliteStatement insert(database_,
                         "INSERT INTO outbox (idempotency_key, url, headers, body, queued_at,"
                         " next_attempt_at) VALUES (?1, ?2, ?3, ?4, ?5, ?5)");
  if (!(insert && insert.bind(1, entry.key) && insert.bind(2, entry.url) &&
        insert.bind(3, headersText(entry.headers)) && insert.bind(4, entry.body) &&
        insert.bind(5, entry.queuedAt) && insert.run())) {
    error = sqlite3_errmsg(database_);
    return false;
  }
  entry.id = sqlite3_last_insert_rowid(database_);
  entry.attempts = 0;
  entry.nextAttemptAt = entry.queuedAt;
  return true;
}

std::vector<OutboxEntry> OutboxStore::sendable(double dueBy, std::size_t limit) const {
  std::vector<OutboxEntry> entries;
  std::lock_guard lock(mutex_);
  const std::string sql = std::string("SELECT ") + kEntryColumns +
                          " FROM outbox WHERE attempts = 0 OR next_attempt_at <= ?1"
                          " ORDER BY attempts > 0, next_attempt_at, id LIMIT ?2";
  SqliteStatement select(database_, sql.c_str());
  if (!select || !select.bind(1, dueBy) || !select.bind(2, static_cast<std::int64_t>(limit))) {
    return entries;
  }
  while (sqlite3_step(select.get()) == SQLITE_ROW)
    entries.push_back(entryAt(select));
  return entries;
}

std::optional<double> OutboxStore::earliestRetry() const {
  std::lock_guard lock(mutex_);
  SqliteStatement select(database_, "SELECT MIN(next_attempt_at) FROM outbox WHERE attempts > 0");
  if (!select || sqlite3_step(select.get()) != SQLITE_ROW || select.isNull(0)) return std::nullopt;
  return select.real(0);
}

bool OutboxStore::makeAllDueBy(double now) {
  std::lock_guard lock(mutex_);
  SqliteStatement update(database_,
                         "UPDATE outbox SET next_attempt_at = ?1 WHERE next_attempt_at > ?1");
  return update && update.bind(1, now) && update.run();
}

bool OutboxStore::recordFailure(std::int64_t id, int attempts, double nextAttemptAt,
                                const std::string& why) {
  std::lock_guard lock(mutex_);
  SqliteStatement update(database_,
                         "UPDATE outbox SET attempts = ?2, next_attempt_at = ?3, last_error = ?4"
                         " WHERE id = ?1");
  return update && update.bind(1, id) && update.bind(2, static_cast<std::int64_t>(attempts)) &&
         update.bind(3, nextAttemptAt) && update.bind(4, why) && update.run();
}

bool OutboxStore::remove(std::int64_t id) {
  std::lock_guard lock(mutex_);
  SqliteStatement remove(database_, "DELETE FROM outbox WHERE id = ?1");
  return remove && remove.bind(1, id) && remove.run();
}

bool OutboxStore::moveToDeadLetters(std::int64_t id, int attempts,
                                    std::optional<std::int64_t> status, const std::string& reason,
                                    double now) {
  std::lock_guard lock(mutex_);
  if (sqlite3_exec(database_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK) {
    return false;
  }
  SqliteStatement copy(database_,
                       "INSERT INTO dead_letters (id, idempotency_key, url, headers, body,"
                       " queued_at, attempts, status, reason, dead_at)"
                       " SELECT id, idempotency_key, url, headers, body, queued_at, ?2, ?3, ?4, ?5"
                       " FROM outbox WHERE id = ?1");
  SqliteStatement remove(database_, "DELETE FROM outbox WHERE id = ?1");
  const bool moved =
      copy && copy.bind(1, id) && copy.bind(2, static_cast<std::int64_t>(attempts)) &&
      (status ? copy.bind(3, *status) : sqlite3_bind_null(copy.get(), 3) == SQLITE_OK) &&
      copy.bind(4, reason) && copy.bind(5, now) && copy.run() && remove && remove.bind(1, id) &&
      remove.run();
  const char* end = moved ? "COMMIT" : "ROLLBACK";
  return sqlite3_exec(database_, end, nullptr, nullptr, nullptr) == SQLITE_OK && moved;
}

std::int64_t OutboxStore::waiting() const {
  std::lock_guard lock(mutex_);
  SqliteStatement count(database_, "SELECT COUNT(*) FROM outbox");
  if (!count || sqlite3_step(count.get()) != SQLITE_ROW) return -1;
  return count.integer(0);
}

std::vector<DeadLetter> OutboxStore::deadLetters() const {
  std::vector<DeadLetter> letters;
  std::lock_guard lock(mutex_);
  // The entry columns, with the time it died where an entry has its next attempt.
  SqliteStatement select(database_,
                         "SELECT id, idempotency_key, url, headers, body, queued_at, attempts,"
                         " dead_at, status, reason, dead_at FROM dead_letters ORDER BY id");
  if (!select) return letters;
  while (sqlite3_step(select.get()) == SQLITE_ROW) {
    DeadLetter letter;
    letter.entry = entryAt(select);
    letter.entry.nextAttemptAt = 0;
    if (!select.isNull(8)) letter.status = select.integer(8);
    letter.reason = select.text(9);
    letter.deadAt = select.real(10);
    letters.push_back(std::move(letter));
  }
  return letters;
}

}  // namespace vlq::reference
