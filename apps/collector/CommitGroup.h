#pragma once

// Posts that arrive together are committed together: the first thread to find no commit under
// way takes every body waiting and commits them at once, while the threads that come meanwhile
// queue for the next commit. Under load a database does one commit for many bodies instead of
// one each; alone, a body waits for nothing.
//
// Each waiting thread sleeps on a condition of its own and is woken when its body's commit is
// done, or when it is first in the queue and may commit for those queued behind it. Under load many
// threads wait at once, and waking them all at every commit would cost more than the commits.

#include <condition_variable>
#include <exception>
#include <mutex>
#include <vector>

#include "collector/ResponseStore.h"

namespace vlq::collector {

// A body waiting for a commit, and what became of it.
struct PendingResponse {
  const IncomingResponse* response = nullptr;
  StoreResult result;
};

class CommitGroup {
 public:
  // Stores `response` in a batch with whatever else is waiting: `commit` is given the batch and
  // fills in each result; it runs on one of the waiting threads, one batch at a time. Should it
  // throw, the batch's bodies fail, the queue goes on, and the exception reaches the thread that
  // ran it.
  template <typename Commit>
  StoreResult store(const IncomingResponse& response, Commit&& commit) {
    Waiting mine;
    mine.pending.response = &response;
    std::unique_lock lock(mutex_);
    queue_.push_back(&mine);
    // A waiter is woken when its body is committed, or when it is first in the queue and a
    // commit has ended; by then another thread may have taken the turn, and its body with it.
    mine.woken.wait(lock, [this, &mine] { return mine.done || (!mine.taken && !committing_); });
    if (mine.done) return std::move(mine.pending.result);
    committing_ = true;
    std::vector<Waiting*> batch;
    batch.swap(queue_);
    for (Waiting* each : batch)
      each->taken = true;
    lock.unlock();
    std::exception_ptr failure;
    try {
      std::vector<PendingResponse*> pending;
      pending.reserve(batch.size());
      for (Waiting* each : batch)
        pending.push_back(&each->pending);
      commit(pending);
    } catch (...) {
      failure = std::current_exception();
      for (Waiting* each : batch) {
        each->pending.result = StoreResult{};
        each->pending.result.error = "the commit was interrupted";
      }
    }
    lock.lock();
    // Notified under the lock: a waiter that is done leaves, and its condition with it.
    for (Waiting* each : batch) {
      each->done = true;
      if (each != &mine) each->woken.notify_one();
    }
    committing_ = false;
    if (!queue_.empty()) queue_.front()->woken.notify_one();
    lock.unlock();
    if (failure) std::rethrow_exception(failure);
    return std::move(mine.pending.result);
  }

 private:
  struct Waiting {
    PendingResponse pending;
    std::condition_variable woken;
    bool taken = false;  // guarded by mutex_: in a batch being committed
    bool done = false;   // guarded by mutex_: committed, `pending.result` filled in
  };

  std::mutex mutex_;
  std::vector<Waiting*> queue_;  // guarded by mutex_
  bool committing_ = false;      // guarded by mutex_
};

}  // namespace vlq::collector
