#pragma once

// The response store on PostgreSQL, which several collector processes may share.
//
// Posts that arrive together are inserted by one statement and committed once: the bodies go to
// the server as arrays, so that a batch costs it one round trip and one commit. One thread of the
// store's own sends the batches over a connection in pipeline mode (PgPipeline): while one batch
// is in the server, the posts that arrive meanwhile gather into the next, which is sent as soon as
// it is as large as the one in flight, or when that one's answer comes. So a batch need not wait
// for the answer to the one before to reach the server, which starts on it as soon as it has
// committed that one, and the batches stay as large as they would be one at a time. A batch also
// waits, briefly, for the posts of the clients answered since the last one went: with few clients
// per collector, one commit for each of their posts would cost the server more than the wait.
// The threads that answer clients hand a body over with what to do once it is committed and go
// on.
//
// The idempotency key is unique within an app by a unique index, so the database, not the
// process, decides which of two collectors that receive the same key stores it; the other's
// insert returns the stored row, from which it answers as for a repeat or a conflict. Batches
// insert their keys in one order, so that two collectors' batches never wait for each other in a
// circle.

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "collector/PgConnection.h"
#include "collector/PgPipeline.h"
#include "collector/ResponseStore.h"

namespace vlq::collector {

class PgResponseStore final : public ResponseStore {
 public:
  // Connects to the database `url` names and creates the responses' table when missing. Null,
  // with `error` filled, when the database cannot be reached or used.
  static std::unique_ptr<PgResponseStore> open(const std::string& url, std::string& error);
  // Commits what was handed over, and answers it, before it goes.
  ~PgResponseStore() override;

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
    // Null when no connection could be made.
    PgConnection* get() const { return connection_.get(); }

   private:
    const PgResponseStore& store_;
    std::unique_ptr<PgConnection> connection_;
  };

  using Clock = std::chrono::steady_clock;
  struct Queued {
    IncomingResponse response;
    std::function<void(StoreResult)> done;
  };
  // Bodies sent to the server together; answered once every statement sent for them has had its
  // answer.
  struct Flight {
    std::vector<Queued> queued;
    std::vector<PendingResponse> pending;  // one for each of `queued`, in the same order
    int awaited = 0;                       // statements sent for it, not yet answered
    Clock::time_point sentAt;
  };

  PgResponseStore(std::string url, std::unique_ptr<PgConnection> first);
  // The committing thread: sends the batches and answers them.
  void commitQueued();
  // Waits until the server answers, a body arrives that the thread waits for, or `until`.
  void waitForWork(std::optional<Clock::time_point> until);
  void send(Flight& flight);
  // Inserts the bodies with one statement; each is announced as stored once it is.
  void insertTogether(Flight& flight, std::vector<PendingResponse*> ordered);
  // One body alone, committed on its own.
  void insertAlone(Flight& flight, PendingResponse& pending);
  // Opens the pipeline when it is missing or broken; false, with `bodies` failed, when it cannot
  // be.
  bool openIfNeeded(const std::vector<PendingResponse*>& bodies);
  // Sends a statement for `flight`; false, with the bodies given failed, when the connection is
  // broken. `handler` is called with what the statement answered.
  bool sendFor(Flight& flight, const std::string& sql, const std::vector<const char*>& values,
               const std::vector<PendingResponse*>& bodies, PgPipeline::Handler handler);
  // Announces those of `bodies` just stored, in id order: the order the statements ran in on
  // the one connection, so the order of the ids.
  void announceInserted(const std::vector<PendingResponse*>& bodies);
  // Answers every flight all of whose statements have been answered.
  void answerFinished(std::list<Flight>& flights);
  void wake();
  // Runs `reading` on a pooled connection; false when it failed or no connection could be made.
  bool read(const std::function<void(PgConnection*)>& reading) const;
  std::vector<StoredResponse> select(const char* sql, const std::vector<std::string>& values) const;

  const std::string url_;
  mutable std::mutex poolMutex_;
  mutable std::vector<std::unique_ptr<PgConnection>> idle_;  // guarded by poolMutex_

  std::mutex queueMutex_;
  std::vector<Queued> queue_;  // guarded by queueMutex_
  // How many queued bodies make the committing thread want to be woken; 0: none. Guarded by
  // queueMutex_.
  std::size_t wakeAt_ = 0;
  bool stopping_ = false;                 // guarded by queueMutex_
  int wakeFd_ = -1;                       // readable when the committing thread is woken
  std::unique_ptr<PgPipeline> pipeline_;  // the committing thread's
  // The committing thread's: bodies answered for good (not failed) since the last batch went,
  // and how long the last batch with such a body took from being sent to its answer.
  std::size_t returning_ = 0;
  Clock::duration lastRoundTrip_{};
  // Last: it commits with everything above.
  std::thread committer_;
};

}  // namespace vlq::collector
