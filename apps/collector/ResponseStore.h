#pragma once

// The collector's SQLite table of received bodies.
//
// One connection, guarded by a mutex, serves every server thread. Bodies are kept as the text
// that arrived and parsed again when read, so what is listed is what the client sent. An
// idempotency key, when a post carries one, is unique: no two records share it.

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <vlq/collector/StoredResponse.h>

namespace vlq::collector {

class ResponseStore {
 public:
  // Opens (creating when missing) the database at `path`, or an in-memory one when `path` is
  // empty. Returns null and fills `error` when the file cannot be opened or is not a usable
  // database.
  static std::unique_ptr<ResponseStore> open(const std::string& path, std::string& error);

  ~ResponseStore();
  ResponseStore(const ResponseStore&) = delete;
  ResponseStore& operator=(const ResponseStore&) = delete;

  // Stores one body, under `idempotencyKey` unless it is empty; returns its id, or none with
  // `error` filled when SQLite refuses (a full disk, a read-only file, a key already stored).
  std::optional<std::int64_t> insert(const std::string& appId, const std::string& receivedAt,
                                     const std::string& url, int status,
                                     const std::string& bodyText, const std::string& idempotencyKey,
                                     std::string& error);
  // The record stored under `idempotencyKey`, if any.
  std::optional<StoredResponse> findByKey(const std::string& idempotencyKey) const;

  // The stored records in storage order: those of `appId` when given, otherwise all. A body
  // whose stored text no longer parses (the file was edited by hand) reads as null.
  std::vector<StoredResponse> list(const std::optional<std::string>& appId) const;

 private:
  explicit ResponseStore(sqlite3* db) : db_(db) {}

  mutable std::mutex mutex_;
  sqlite3* db_;  // guarded by mutex_ after construction
};

}  // namespace vlq::collector
