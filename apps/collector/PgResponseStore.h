#pragma once

// The response store on PostgreSQL, which several collector processes may share.
//
// Posts that arrive together are inserted by one statement, committed once (see CommitGroup): the
// bodies go to the server as arrays, so that a batch costs it one round trip and one commit. The
// idempotency key is unique within an app by a unique index, so the database, not the process,
// decides which of two collectors that receive the same key stores it; the other finds the stored
// body and answers as for a repeat or a conflict. Batches insert their keys in one order, so that
// two collectors' batches never wait for each other in a circle.

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "collector/CommitGroup.h"
#include "collector/PgConnection.h"
#include "collector/ResponseStore.h"

namespace vlq::collector {

class PgResponseStore final : public ResponseStore {
 public:
  // Connects to the database `url` names and creates the responses' table when missing. Null,
  // with `error` filled, when the database cannot be reached or used.
  static std::unique_ptr<PgResponseStore> open(const std::string& url, std::string& error);

  void storeThen(IncomingResponse response, std::function<void(StoreResult)> done) override;
  ResponsePage page(const std::string& appId, std::int64_t after, std::size_t limit,
                    std::size_t maxBytes) const override;
  std::vector<StoredResponse> all(const std::optional<std::string>& appId) const override;
  std::vector<StoredResponse> after(std::int64_t after, std::size_t limit) const override;

 private:
  // A connection borrowed from the pool, given back when it goes out of scope (dropped when it
  // broke, so that the next borrower connects afresh).
  class Lease {
   public:
    explicit Lease(const PgResponseStore& store);
    ~Lease();
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    // Null when no connection could be made; `error` says why.
    PgConnection* get() const { return connection_.get(); }
    const std::string& error() const { return error_; }

   private:
    const PgResponseStore& store_;
    std::unique_ptr<PgConnection> connection_;
    std::string error_;
  };

  PgResponseStore(std::string url, std::unique_ptr<PgConnection> first);
  // Stores the batch and announces the bodies it stored, in id order.
  void commit(const std::vector<PendingResponse*>& batch);
  // Inserts the batch with one statement; false when the server refused it, and then nothing of
  // it was kept.
  bool insertTogether(PgConnection* connection, const std::vector<PendingResponse*>& batch);
  // Answers the posts whose keys the batch found stored already.
  void findStored(PgConnection* connection, const std::vector<PendingResponse*>& found);
  // One body alone, committed on its own.
  void insertAlone(PgConnection* connection, PendingResponse& pending);
  std::vector<StoredResponse> select(const char* sql, const std::vector<std::string>& values) const;

  const std::string url_;
  mutable std::mutex poolMutex_;
  mutable std::vector<std::unique_ptr<PgConnection>> idle_;  // guarded by poolMutex_
  // Last: its thread commits with everything above, and is stopped first.
  CommitGroup commits_{[this](const std::vector<PendingResponse*>& batch) { commit(batch); }};
};

}  // namespace vlq::collector
