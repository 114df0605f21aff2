#pragma once

// The response store on PostgreSQL, which several collector processes may share.
//
// Each post is one INSERT, committed on its own, on one of a pool of connections (one per thread
// that stores at the same moment): the server commits concurrent transactions with one flush of
// its log. The idempotency key is unique within an app by a unique index, so the database, not
// the process, decides which of two collectors that receive the same key stores it; the other
// finds the stored body and answers as for a repeat or a conflict.

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "collector/PgConnection.h"
#include "collector/ResponseStore.h"

namespace vlq::collector {

class PgResponseStore final : public ResponseStore {
 public:
  // Connects to the database `url` names and creates the responses' table when missing. Null,
  // with `error` filled, when the database cannot be reached or used.
  static std::unique_ptr<PgResponseStore> open(const std::string& url, std::string& error);

  StoreResult store(const IncomingResponse& response) override;
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
  StoreResult insert(PgConnection* connection, const IncomingResponse& response);
  std::vector<StoredResponse> select(const char* sql, const std::vector<std::string>& values) const;

  const std::string url_;
  mutable std::mutex poolMutex_;
  mutable std::vector<std::unique_ptr<PgConnection>> idle_;  // guarded by poolMutex_
  std::mutex announceMutex_;                                 // one listener call at a time
};

}  // namespace vlq::collector
