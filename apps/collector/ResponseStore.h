#pragma once

// Where the collector keeps the bodies it was posted, whatever the database.
//
// A store keeps each body as the text that arrived, so that what is listed is what the client
// sent. A body's idempotency key, when it has one, is unique within its app: the store decides,
// in one step with the insert, whether a key is new, a repeat of the same body or a conflict, so
// that several threads (or processes, where the database allows) never store a key twice.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <vlq/collector/StoredResponse.h>
#include <vlq/host/JsonDocument.h>

namespace vlq::collector {

// A body to store, as it was received.
struct IncomingResponse {
  std::string appId;
  std::string receivedAt;
  std::string url;
  int status = 0;
  // The body's text, held by the caller until it has the result.
  std::string_view bodyText;
  // Empty: none.
  std::string idempotencyKey;
  // The body parsed, when the caller parsed it: then the store need not, between two commits.
  // Null otherwise.
  Json body;
};

struct StoreResult {
  enum class Outcome {
    stored,    // kept under a new id
    repeated,  // the app stored the same body under this key before: its id and status
    conflict,  // the app stored another body under this key: its id
    failed,    // the database refused: `error` says why; nothing was kept
  };
  Outcome outcome = Outcome::failed;
  std::int64_t id = 0;
  int status = 0;
  std::string error;
};

// A body in a batch being committed, and what became of it.
struct PendingResponse {
  IncomingResponse* response = nullptr;  // the commit may take what it announces from it
  StoreResult result;
};

// One page of an app's bodies, as their stored text.
struct ResponsePage {
  struct Entry {
    std::int64_t id = 0;
    std::string bodyText;
  };
  std::vector<Entry> entries;
  // True when the app has bodies after the last one of this page.
  bool more = false;
};

class ResponseStore {
 public:
  virtual ~ResponseStore() = default;

  // Keeps `response` durably, or finds the body already kept under its key, and calls `done`
  // with the result once the database has it for good, on a thread of the store's, without
  // waiting for it here. The caller keeps the body's text until then. May be called from many
  // threads at once.
  virtual void storeThen(IncomingResponse response, std::function<void(StoreResult)> done) = 0;
  // storeThen(), waiting for the result.
  StoreResult store(const IncomingResponse& response);

  // The app's bodies with ids above `after`, oldest first: at most `limit` of them, and no more
  // than about `maxBytes` of text (but at least one).
  virtual ResponsePage page(const std::string& appId, std::int64_t after, std::size_t limit,
                            std::size_t maxBytes) const = 0;

  // Every stored record, oldest first: those of `appId` when given. A body whose text no longer
  // parses (the database was edited by hand) reads as null.
  virtual std::vector<StoredResponse> all(const std::optional<std::string>& appId) const = 0;

  // Up to `limit` records of every app with an id above `after`, oldest first.
  virtual std::vector<StoredResponse> after(std::int64_t after, std::size_t limit) const = 0;

  // Called with each newly stored record once it is kept for good, before its result is given;
  // one call at a time, in id order. Set it before the store is shared between threads.
  void setStoredListener(std::function<void(const StoredResponse&)> listener) {
    storedListener_ = std::move(listener);
  }

 protected:
  void announceStored(const StoredResponse& response) const {
    if (storedListener_) storedListener_(response);
  }

 private:
  std::function<void(const StoredResponse&)> storedListener_;
};

// The record of `response`, stored under `id`.
StoredResponse storedRecordOf(IncomingResponse&& response, std::int64_t id);

// The record in the current row of `row` (a statement of either database), whose columns are
// those of kStoredColumns in that order.
inline constexpr const char* kStoredColumns =
    "id, app_id, received_at, url, status, body, idempotency_key";
template <typename Row>
StoredResponse storedRecordAt(const Row& row) {
  StoredResponse stored;
  stored.id = row.integer(0);
  stored.appId = row.text(1);
  stored.receivedAt = row.text(2);
  stored.url = row.text(3);
  stored.status = static_cast<int>(row.integer(4));
  stored.body = parseJsonDocument(row.text(5)).value_or(nullptr);
  stored.idempotencyKey = row.text(6);  // empty for NULL
  return stored;
}

// Opens the store that `location` names: a PostgreSQL URL ("postgresql://..."), an SQLite file
// path, or ":memory:". Returns null and
// fills `error` when it cannot be opened or is not a usable database.
std::unique_ptr<ResponseStore> openResponseStore(const std::string& location, std::string& error);

}  // namespace vlq::collector
