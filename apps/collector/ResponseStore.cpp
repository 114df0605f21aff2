#include "collector/ResponseStore.h"

#include <future>

#include "collector/PgConnection.h"
#include "collector/PgResponseStore.h"
#include "collector/SqliteResponseStore.h"

namespace vlq::collector {

StoreResult ResponseStore::store(const IncomingResponse& response) {
  std::promise<StoreResult> result;
  std::future<StoreResult> given = result.get_future();
  storeThen(response, [&result](StoreResult stored) { result.set_value(std::move(stored)); });
  return given.get();
}

StoredResponse storedRecordOf(const IncomingResponse& response, std::int64_t id) {
  StoredResponse stored;
  stored.id = id;
  stored.appId = response.appId;
  stored.receivedAt = response.receivedAt;
  stored.url = response.url;
  stored.status = response.status;
  stored.idempotencyKey = response.idempotencyKey;
  stored.body = parseJsonDocument(response.bodyText).value_or(nullptr);
  return stored;
}

std::unique_ptr<ResponseStore> openResponseStore(const std::string& location, std::string& error) {
  if (isPostgresLocation(location)) return PgResponseStore::open(location, error);
  return SqliteResponseStore::open(location, error);
}

}  // namespace vlq::collector
