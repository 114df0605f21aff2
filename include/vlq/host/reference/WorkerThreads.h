#pragma once

// The host's worker threads: each piece of work runs on a thread of its own, and stopping waits
// until every one of them has ended.
//
// The threads are detached and share only this object's internal state, so a worker that is still
// unwinding when its owner is gone touches nothing of the owner. Work that must wait on something
// that stopping cannot interrupt (a sleep on the virtual clock) parks itself around that wait;
// stopping does not wait for parked workers, and a worker that comes back after the stop is told
// to end at once, touching only what it owns.

#include <functional>
#include <memory>

#include <vlq/Export.h>

namespace vlq::reference {

class VLQ_API WorkerThreads {
 public:
  WorkerThreads();
  WorkerThreads(const WorkerThreads&) = delete;
  WorkerThreads& operator=(const WorkerThreads&) = delete;
  // Stops and waits (stopAndWait).
  ~WorkerThreads();

  // Runs `work` on a new thread; whatever it throws ends it silently. Returns false, without
  // running it, once stopped or when no thread can be started.
  bool start(std::function<void()> work);

  // Called by a worker before a wait that stopping cannot interrupt / after it. `unpark` returns
  // false once stopped: the worker must then return at once without touching its owner.
  void park();
  bool unpark();

  // Refuses new work and waits until every worker has ended, except parked ones and the calling
  // thread's own (when a worker stops its owner). Safe to call more than once.
  void stopAndWait();
  bool stopped() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace vlq::reference
