#pragma once

// The response store on SQLite: one file (or one in-memory database), in write-ahead-log mode
// with full synchronisation, so that a body is on disk before its post is answered.
// Posts that arrive together are inserted in one transaction, committed once (see CommitGroup).

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "collector/CommitGroup.h"
#include "collector/ResponseStore.h"
#include "host/reference/SqliteDatabase.h"

namespace vlq::collector {

class SqliteResponseStore final : public ResponseStore {
 public:
  // Opens `path` (":memory:" for an in-memory database), creating the file with mode 0600 when
  // missing (not its directory), and brings a database of an earlier version up to date.
  static std::unique_ptr<SqliteResponseStore> open(const std::string& path, std::string& error);

  ~SqliteResponseStore() override;
  SqliteResponseStore(const SqliteResponseStore&) = delete;
  SqliteResponseStore& operator=(const SqliteResponseStore&) = delete;

  void storeThen(IncomingResponse response, std::function<void(StoreResult)> done) override;
  ResponsePage page(const std::string& appId, std::int64_t after, std::size_t limit,
                    std::size_t maxBytes) const override;
  std::vector<StoredResponse> all(const std::optional<std::string>& appId) const override;
  std::vector<StoredResponse> after(std::int64_t after, std::size_t limit) const override;

 private:
  using Statement = reference::SqliteStatement;

  explicit SqliteResponseStore(sqlite3* database);
  // Inserts the batch in one transaction; announces the bodies it stored.
  void commit(const std::vector<PendingResponse*>& batch);
  // One insert inside the open transaction.
  StoreResult insert(const IncomingResponse& response);
  bool execute(Statement& statement);

  sqlite3* database_;
  // Guards the connection and its statements.
  mutable std::mutex databaseMutex_;
  std::unique_ptr<Statement> begin_, commit_, rollback_, insert_, findByKey_, page_, all_,
      allOfApp_, after_;

  // Last: its thread commits with everything above, and is stopped first.
  CommitGroup commits_{[this](const std::vector<PendingResponse*>& batch) { commit(batch); }};
};

}  // namespace vlq::collector
