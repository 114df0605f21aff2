#pragma once

// Posts that arrive together are committed together: the first thread to find no commit under
// way takes every body waiting and commits them at once, while the threads that come meanwhile
// queue for the next commit. Under load a database does one commit for many bodies instead of
// one each; alone, a body waits for nothing.

#include <condition_variable>
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
  // fills in each result; it runs on one of the waiting threads, one batch at a time, and must not
  // throw.
  template <typename Commit>
  StoreResult store(const IncomingResponse& response, Commit&& commit) {
    Waiting mine{{&response, {}}, false};
    std::unique_lock lock(mutex_);
    queue_.push_back(&mine);
    while (!mine.done) {
      if (committing_) {
        changed_.wait(lock);
        continue;
      }
      committing_ = true;
      std::vector<Waiting*> waiting;
      waiting.swap(queue_);
      lock.unlock();
      std::vector<PendingResponse*> batch;
      batch.reserve(waiting.size());
      for (Waiting* each : waiting)
        batch.push_back(&each->pending);
      commit(batch);
      lock.lock();
      for (Waiting* each : waiting)
        each->done = true;
      committing_ = false;
      changed_.notify_all();
    }
    return std::move(mine.pending.result);
  }

 private:
  struct Waiting {
    PendingResponse pending;
    bool done;  // guarded by mutex_
  };

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Waiting*> queue_;  // guarded by mutex_
  bool committing_ = false;      // guarded by mutex_
};

}  // namespace vlq::collector
