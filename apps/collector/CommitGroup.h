#pragma once

// Posts that arrive together are committed together: a thread of the group's own takes every body
// waiting and commits them at once, while the bodies that come meanwhile queue for the next
// commit. Under load a database does one commit for many bodies instead of one each; alone, a body
// waits for nothing.
//
// Nobody waits in the queue: a body is handed over with what to do once it is committed, and the
// thread that handed it over goes on. Under load the committing thread finds the next batch
// waiting and the threads that answer clients are never put to sleep and woken for a commit.

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "collector/ResponseStore.h"

namespace vlq::collector {

class CommitGroup {
 public:
  // Commits a batch: fills in each body's result. Should it throw, the batch's bodies fail and
  // the group goes on with the next.
  using Commit = std::function<void(const std::vector<PendingResponse*>& batch)>;

  explicit CommitGroup(Commit commit);
  ~CommitGroup() { stop(); }
  // Commits what is queued and stops; whoever owns what the commits use stops the group before
  // letting go of it. Nothing may be stored afterwards.
  void stop();
  CommitGroup(const CommitGroup&) = delete;
  CommitGroup& operator=(const CommitGroup&) = delete;

  // Queues `response` for the next commit; `done` is called with its result on the group's
  // thread, once its batch is committed. The body's text stays valid until then.
  void store(IncomingResponse response, std::function<void(StoreResult)> done);

 private:
  struct Queued {
    IncomingResponse response;
    std::function<void(StoreResult)> done;
  };

  void commitQueued();

  Commit commit_;
  std::mutex mutex_;
  std::condition_variable queueChanged_;
  std::vector<Queued> queue_;  // guarded by mutex_
  bool stopping_ = false;      // guarded by mutex_
  std::thread committer_;
};

}  // namespace vlq::collector
