#include "collector/PgResponseStore.h"

#include <stdexcept>
#include <utility>

#include <vlq/host/JsonDocument.h>

#include "collector/PgSchema.h"

namespace vlq::collector {
namespace {

constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS survey_responses ("
    " id BIGSERIAL PRIMARY KEY,"
    " app_id TEXT NOT NULL,"
    " received_at TEXT NOT NULL,"
    " url TEXT NOT NULL,"
    " status INTEGER NOT NULL,"
    " body TEXT NOT NULL,"
    " idempotency_key TEXT);"
    "CREATE INDEX IF NOT EXISTS survey_responses_app_id ON survey_responses (app_id, id);"
    "CREATE UNIQUE INDEX IF NOT EXISTS survey_responses_app_key"
    " ON survey_responses (app_id, idempotency_key) WHERE idempotency_key IS NOT NULL;";
// More idle connections than this are closed rather than kept.
constexpr std::size_t kMaxIdleConnections = 32;

}  // namespace

PgResponseStore::Lease::Lease(const PgResponseStore& store) : store_(store) {
  {
    std::lock_guard lock(store.poolMutex_);
    if (!store.idle_.empty()) {
      connection_ = std::move(store.idle_.back());
      store.idle_.pop_back();
    }
  }
  if (!connection_) connection_ = PgConnection::open(store.url_, error_);
}

PgResponseStore::Lease::~Lease() {
  if (!connection_ || !connection_->healthy()) return;
  std::lock_guard lock(store_.poolMutex_);
  if (store_.idle_.size() < kMaxIdleConnections) store_.idle_.push_back(std::move(connection_));
}

std::unique_ptr<PgResponseStore> PgResponseStore::open(const std::string& url, std::string& error) {
  auto connection = PgConnection::open(url, error);
  if (!connection || !createPgTables(connection.get(), kSchema, error)) return nullptr;
  return std::unique_ptr<PgResponseStore>(new PgResponseStore(url, std::move(connection)));
}

PgResponseStore::PgResponseStore(std::string url, std::unique_ptr<PgConnection> first)
    : url_(std::move(url)) {
  idle_.push_back(std::move(first));
}

StoreResult PgResponseStore::store(const IncomingResponse& response) {
  const Lease lease(*this);
  if (!lease.get()) return StoreResult{StoreResult::Outcome::failed, 0, 0, lease.error()};
  StoreResult result;
  try {
    result = insert(lease.get(), response);
  } catch (const std::exception& e) {
    return StoreResult{StoreResult::Outcome::failed, 0, 0, e.what()};
  }
  if (result.outcome == StoreResult::Outcome::stored) {
    const StoredResponse stored = storedRecordOf(response, result.id);
    std::lock_guard lock(announceMutex_);
    announceStored(stored);
  }
  return result;
}

StoreResult PgResponseStore::insert(PgConnection* connection, const IncomingResponse& response) {
  const bool hasKey = !response.idempotencyKey.empty();
  // One statement, committed on its own; a key the app used before inserts nothing.
  PgQuery insert(connection,
                 "INSERT INTO survey_responses"
                 " (app_id, received_at, url, status, body, idempotency_key)"
                 " VALUES ($1, $2, $3, $4, $5, $6)"
                 " ON CONFLICT (app_id, idempotency_key) WHERE idempotency_key IS NOT NULL"
                 " DO NOTHING RETURNING id");
  insert.bind("$1", response.appId)
      .bind("$2", response.receivedAt)
      .bind("$3", response.url)
      .bind("$4", response.status)
      .bind("$5", std::string(response.bodyText))
      .bind("$6", hasKey ? std::optional(response.idempotencyKey) : std::nullopt);
  if (insert.step()) {
    return StoreResult{StoreResult::Outcome::stored, insert.integer(0), response.status, {}};
  }
  // The conflict waited for the other insert's commit, so its row is there to read.
  PgQuery find(connection,
               "SELECT id, status, body FROM survey_responses"
               " WHERE app_id = $1 AND idempotency_key = $2");
  find.bind("$1", response.appId).bind("$2", response.idempotencyKey);
  if (!find.step()) throw std::runtime_error("the response stored under the key vanished");
  const auto outcome = find.text(2) == response.bodyText ? StoreResult::Outcome::repeated
                                                         : StoreResult::Outcome::conflict;
  return StoreResult{outcome, find.integer(0), static_cast<int>(find.integer(1)), {}};
}

std::vector<StoredResponse> PgResponseStore::select(const char* sql,
                                                    const std::vector<std::string>& values) const {
  const Lease lease(*this);
  std::vector<StoredResponse> result;
  if (!lease.get()) return result;
  try {
    PgQuery query(lease.get(), sql);
    for (std::size_t at = 0; at < values.size(); ++at)
      query.bind(("$" + std::to_string(at + 1)).c_str(), values[at]);
    while (query.step())
      result.push_back(storedRecordAt(query));
  } catch (const std::exception&) {
    // A read the database refuses reads as empty, like one of SQLite's.
  }
  return result;
}

ResponsePage PgResponseStore::page(const std::string& appId, std::int64_t after, std::size_t limit,
                                   std::size_t maxBytes) const {
  ResponsePage page;
  const Lease lease(*this);
  if (!lease.get()) return page;
  try {
    PgQuery select(lease.get(),
                   "SELECT id, body FROM survey_responses WHERE app_id = $1 AND id > $2"
                   " ORDER BY id LIMIT $3");
    select.bind("$1", appId).bind("$2", after).bind("$3", static_cast<std::int64_t>(limit + 1));
    std::size_t bytes = 0;
    while (select.step()) {
      std::string body = select.text(1);
      if (page.entries.size() == limit ||
          (!page.entries.empty() && bytes + body.size() > maxBytes)) {
        page.more = true;
        break;
      }
      bytes += body.size();
      page.entries.push_back({select.integer(0), std::move(body)});
    }
  } catch (const std::exception&) {
    return {};
  }
  return page;
}

std::vector<StoredResponse> PgResponseStore::all(const std::optional<std::string>& appId) const {
  const std::string columns = std::string("SELECT ") + kStoredColumns + " FROM survey_responses";
  if (appId) return select((columns + " WHERE app_id = $1 ORDER BY id").c_str(), {*appId});
  return select((columns + " ORDER BY id").c_str(), {});
}

std::vector<StoredResponse> PgResponseStore::after(std::int64_t after, std::size_t limit) const {
  const std::string sql = std::string("SELECT ") + kStoredColumns +
                          " FROM survey_responses WHERE id > $1 ORDER BY id LIMIT $2";
  return select(sql.c_str(), {std::to_string(after), std::to_string(limit)});
}

}  // namespace vlq::collector
