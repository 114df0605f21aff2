#pragma once

// The outbox's SQLite file: the bodies waiting to be delivered, and the dead letters (bodies the
// service refused for good), each with the idempotency key made for it when it was queued.
//
// The file is in write-ahead-log mode with normal synchronisation: every change is committed
// before the call returns, so a queued body survives the process ending at any moment (a crash
// included); only an operating-system crash or a power cut can lose the last changes. The file is
// kept below a size limit, so that a long outage cannot fill the device: past it, adding fails as
// a full disk would. Times are seconds since 1970 (they must mean the same thing to the next
// process). One connection, guarded by a mutex; every member function may be called from any
// thread.

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <vlq/Export.h>
#include <vlq/host/HostValues.h>

struct sqlite3;

namespace vlq::reference {

// One body waiting in the outbox.
struct OutboxEntry {
  std::int64_t id = 0;  // increases with each queued body
  std::string key;      // the idempotency key, the same for every attempt
  std::string url;      // the path and query it is posted to
  VLQHeaderFields headers;
  std::string body;
  double queuedAt = 0;
  int attempts = 0;  // 0 until the first attempt has been made
  // When the next attempt is due; for a body never attempted, when it was queued.
  double nextAttemptAt = 0;
};

// One body the service refused for good.
struct DeadLetter {
  OutboxEntry entry;  // as it was queued, with the attempts made
  std::optional<std::int64_t> status;
  std::string reason;
  double deadAt = 0;
};

class VLQ_API OutboxStore {
 public:
  // Opens (creating it when missing) the outbox at `path`, limited to about `limitBytes`. Null,
  // with `error` filled, when the file cannot be created or opened or is not an outbox (a
  // corrupt file, a directory in its place).
  static std::unique_ptr<OutboxStore> open(const std::string& path, std::int64_t limitBytes,
                                           std::string& error);
  ~OutboxStore();
  OutboxStore(const OutboxStore&) = delete;
  OutboxStore& operator=(const OutboxStore&) = delete;

  // Queues `entry` (its id is set); false with `error` filled when the file refuses the write
  // (full, read-only, damaged).
  bool add(OutboxEntry& entry, std::string& error);
  // Up to `limit` bodies to attempt now, in order: the bodies never attempted, oldest first, then
  // the bodies whose next attempt is due by `dueBy`, earliest due first.
  std::vector<OutboxEntry> sendable(double dueBy, std::size_t limit) const;
  // The earliest next attempt of a body already attempted, if any.
  std::optional<double> earliestRetry() const;
  // Makes every body due by `now` (a host starting again does not wait out an earlier process's
  // backoff).
  bool makeAllDueBy(double now);

  // After an attempt: another one is due at `nextAttemptAt`; the body is gone (delivered); the
  // body moves to the dead letters. Each is one transaction; false when the file refuses it.
  bool recordFailure(std::int64_t id, int attempts, double nextAttemptAt, const std::string& why);
  bool remove(std::int64_t id);
  bool moveToDeadLetters(std::int64_t id, int attempts, std::optional<std::int64_t> status,
                         const std::string& reason, double now);

  // Bodies waiting; -1 when the file cannot be read.
  std::int64_t waiting() const;
  std::vector<DeadLetter> deadLetters() const;

 private:
  explicit OutboxStore(sqlite3* database) : database_(database) {}

  mutable std::mutex mutex_;
  sqlite3* database_;  // guarded by mutex_
};

}  // namespace vlq::reference
