#include "collector/PgResponseStore.h"

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>
#include <tuple>
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

void PgResponseStore::storeThen(IncomingResponse response, std::function<void(StoreResult)> done) {
  commits_.store(std::move(response), std::move(done));
}

void PgResponseStore::commit(const std::vector<PendingResponse*>& batch) {
  {
    const Lease lease(*this);
    if (!lease.get()) {
      for (PendingResponse* pending : batch)
        pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0, lease.error()};
      return;
    }
    // One body that the server refuses fails the statement for all; then each body is tried
    // alone, so that it fails alone.
    if (batch.size() == 1 || !insertTogether(lease.get(), batch)) {
      for (PendingResponse* pending : batch)
        insertAlone(lease.get(), *pending);
    }
  }
  std::vector<PendingResponse*> stored;
  for (PendingResponse* pending : batch) {
    if (pending->result.outcome == StoreResult::Outcome::stored) stored.push_back(pending);
  }
  std::sort(stored.begin(), stored.end(), [](const PendingResponse* a, const PendingResponse* b) {
    return a->result.id < b->result.id;
  });
  for (PendingResponse* pending : stored)
    announceStored(storedRecordOf(std::move(*pending->response), pending->result.id));
}

bool PgResponseStore::insertTogether(PgConnection* connection,
                                     const std::vector<PendingResponse*>& batch) {
  // Bodies without a key first, then by app and key: every collector takes the keys' locks in
  // the same order.
  std::vector<PendingResponse*> ordered(batch);
  std::stable_sort(
      ordered.begin(), ordered.end(), [](const PendingResponse* a, const PendingResponse* b) {
        const IncomingResponse& x = *a->response;
        const IncomingResponse& y = *b->response;
        return std::forward_as_tuple(!x.idempotencyKey.empty(), x.appId, x.idempotencyKey) <
               std::forward_as_tuple(!y.idempotencyKey.empty(), y.appId, y.idempotencyKey);
      });
  std::array<std::vector<std::optional<std::string>>, 6> columns;
  for (const PendingResponse* pending : ordered) {
    const IncomingResponse& response = *pending->response;
    columns[0].emplace_back(response.appId);
    columns[1].emplace_back(response.receivedAt);
    columns[2].emplace_back(response.url);
    columns[3].emplace_back(std::to_string(response.status));
    columns[4].emplace_back(std::string(response.bodyText));
    columns[5].push_back(response.idempotencyKey.empty() ? std::nullopt
                                                         : std::optional(response.idempotencyKey));
  }
  // Rows go in in the order given, so the ids they get rise in that order; a key the app used
  // before, or earlier in the batch, inserts nothing.
  PgQuery insert(connection,
                 "INSERT INTO survey_responses"
                 " (app_id, received_at, url, status, body, idempotency_key)"
                 " SELECT app_id, received_at, url, status, body, idempotency_key"
                 " FROM unnest($1::text[], $2::text[], $3::text[], $4::integer[], $5::text[],"
                 " $6::text[]) WITH ORDINALITY"
                 " AS batch (app_id, received_at, url, status, body, idempotency_key, place)"
                 " ORDER BY place"
                 " ON CONFLICT (app_id, idempotency_key) WHERE idempotency_key IS NOT NULL"
                 " DO NOTHING RETURNING id, app_id, idempotency_key");
  for (std::size_t column = 0; column < columns.size(); ++column)
    insert.bind(("$" + std::to_string(column + 1)).c_str(), pgArrayLiteral(columns[column]));
  std::vector<std::int64_t> unkeyedIds;
  std::map<std::pair<std::string, std::string>, std::int64_t> keyedIds;
  try {
    while (insert.step()) {
      if (const auto key = insert.optionalText(2)) {
        keyedIds.emplace(std::pair(insert.text(1), *key), insert.integer(0));
      } else {
        unkeyedIds.push_back(insert.integer(0));
      }
    }
  } catch (const std::exception&) {
    return false;
  }
  // The statement is committed: from here on, no body is inserted again.
  std::sort(unkeyedIds.begin(), unkeyedIds.end());
  std::size_t nextUnkeyed = 0;
  std::vector<PendingResponse*> found;
  for (PendingResponse* pending : ordered) {
    const IncomingResponse& response = *pending->response;
    if (response.idempotencyKey.empty()) {
      pending->result =
          nextUnkeyed < unkeyedIds.size()
              ? StoreResult{StoreResult::Outcome::stored,
                            unkeyedIds[nextUnkeyed++],
                            response.status,
                            {}}
              : StoreResult{StoreResult::Outcome::failed, 0, 0, "the stored body has no id"};
      continue;
    }
    const auto id = keyedIds.find(std::pair(response.appId, response.idempotencyKey));
    if (id == keyedIds.end()) {
      found.push_back(pending);
      continue;
    }
    pending->result = StoreResult{StoreResult::Outcome::stored, id->second, response.status, {}};
    keyedIds.erase(id);  // the same key later in the batch is a repeat or a conflict
  }
  if (!found.empty()) findStored(connection, found);
  return true;
}

void PgResponseStore::findStored(PgConnection* connection,
                                 const std::vector<PendingResponse*>& found) {
  std::vector<std::optional<std::string>> apps, keys;
  for (const PendingResponse* pending : found) {
    apps.emplace_back(pending->response->appId);
    keys.emplace_back(pending->response->idempotencyKey);
  }
  struct StoredRow {
    std::int64_t id;
    int status;
    std::string body;
  };
  std::map<std::pair<std::string, std::string>, StoredRow> stored;
  try {
    // The conflicts waited for the other inserts' commits, so their rows are there to read.
    PgQuery select(connection,
                   "SELECT s.id, s.status, s.body, s.app_id, s.idempotency_key"
                   " FROM unnest($1::text[], $2::text[]) AS wanted (app_id, idempotency_key)"
                   " CROSS JOIN LATERAL (SELECT * FROM survey_responses r"
                   " WHERE r.app_id = wanted.app_id AND r.idempotency_key = wanted.idempotency_key"
                   " AND r.idempotency_key IS NOT NULL) AS s",
                   PgQuery::Planning::eachRun);
    select.bind("$1", pgArrayLiteral(apps)).bind("$2", pgArrayLiteral(keys));
    while (select.step()) {
      stored[std::pair(select.text(3), select.text(4))] =
          StoredRow{select.integer(0), static_cast<int>(select.integer(1)), select.text(2)};
    }
  } catch (const std::exception& e) {
    for (PendingResponse* pending : found)
      pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0, e.what()};
    return;
  }
  for (PendingResponse* pending : found) {
    const IncomingResponse& response = *pending->response;
    const auto row = stored.find(std::pair(response.appId, response.idempotencyKey));
    if (row == stored.end()) {
      pending->result = StoreResult{StoreResult::Outcome::failed, 0, 0,
                                    "the response stored under the key vanished"};
      continue;
    }
    pending->result =
        StoreResult{row->second.body == response.bodyText ? StoreResult::Outcome::repeated
                                                          : StoreResult::Outcome::conflict,
                    row->second.id,
                    row->second.status,
                    {}};
  }
}

void PgResponseStore::insertAlone(PgConnection* connection, PendingResponse& pending) {
  const IncomingResponse& response = *pending.response;
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
  try {
    if (insert.step()) {
      pending.result =
          StoreResult{StoreResult::Outcome::stored, insert.integer(0), response.status, {}};
      return;
    }
  } catch (const std::exception& e) {
    pending.result = StoreResult{StoreResult::Outcome::failed, 0, 0, e.what()};
    return;
  }
  findStored(connection, {&pending});
}

std::vector<StoredResponse> PgResponseStore::select(const char* sql,
                                                    const std::vector<std::string>& values) const {
  const Lease lease(*this);
  std::vector<StoredResponse> result;
  if (!lease.get()) return result;
  try {
    PgQuery query(lease.get(), sql, PgQuery::Planning::eachRun);
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
                   " ORDER BY id LIMIT $3",
                   PgQuery::Planning::eachRun);
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
