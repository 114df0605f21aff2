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

StoredResponse storedRecordOf(IncomingResponse&& response, std::int64_t id) {
  StoredResponse stored;
  stored.id = id;
  stored.appId = std::move(response.appId);
  stored.receivedAt = std::move(response.receivedAt);
  stored.url = std::move(response.url);
  stored.status = response.status;
  stored.idempotencyKey = std::move(response.idempotencyKey);
  stored.body = response.body.is_null() ? parseJsonDocument(response.bodyText).value_or(nullptr)
                                        : std::move(response.body);
  return stored;
}

std::unique_ptr<ResponseStore> openResponseStore(const std::string& location, std::string& error) {
  if (isPostgresLocation(location)) return PgResponseStore::open(location, error);
  return SqliteResponseStore::open(location, error);
}

}  // namespace vlq::collector
