#include "collector/CommitGroup.h"

#include <exception>
#include <string>
#include <utility>

namespace vlq::collector {

CommitGroup::CommitGroup(Commit commit) : commit_(std::move(commit)) {
  committer_ = std::thread([this] { commitQueued(); });
}

void CommitGroup::stop() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  queueChanged_.notify_one();
  if (committer_.joinable()) committer_.join();
}

void CommitGroup::store(IncomingResponse response, std::function<void(StoreResult)> done) {
  {
    std::lock_guard lock(mutex_);
    queue_.push_back(Queued{std::move(response), std::move(done)});
  }
  // Costs no system call while the committer is busy: it looks at the queue before it sleeps.
  queueChanged_.notify_one();
}

void CommitGroup::commitQueued() {
  std::vector<Queued> batch;
  std::vector<PendingResponse> pending;
  std::vector<PendingResponse*> committed;
  std::unique_lock lock(mutex_);
  while (true) {
    queueChanged_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
    if (queue_.empty()) return;  // stopping, with nothing left to commit
    batch.clear();
    batch.swap(queue_);
    lock.unlock();
    pending.clear();
    for (Queued& queued : batch)
      pending.push_back(PendingResponse{&queued.response, {}});
    committed.clear();
    for (PendingResponse& each : pending)
      committed.push_back(&each);
    try {
      commit_(committed);
    } catch (const std::exception& e) {
      for (PendingResponse& each : pending)
        each.result = StoreResult{StoreResult::Outcome::failed, 0, 0,
                                  std::string("the commit was interrupted: ") + e.what()};
    } catch (...) {
      for (PendingResponse& each : pending)
        each.result = StoreResult{StoreResult::Outcome::failed, 0, 0, "the commit was interrupted"};
    }
    for (std::size_t i = 0; i < batch.size(); ++i) {
      try {
        batch[i].done(std::move(pending[i].result));
      } catch (...) {
        // What is done with a result is the caller's; the next bodies are committed all the same.
      }
    }
    batch.clear();  // what the callers' `done` held goes now, not at the next commit
    lock.lock();
  }
}

}  // namespace vlq::collector
