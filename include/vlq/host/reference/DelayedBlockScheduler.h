#pragma once

// Delayed blocks: each block runs once, on a scheduler thread, when the toolkit's current clock has
// moved `seconds` past the moment it was scheduled. Blocks run one at a time, in the order of
// their due times, those due together in the order they were scheduled.
//
// Each block waits on a thread of its own. On the system clock the wait is interruptible, so
// stopping ends it at once. On any other clock (the virtual clock of a test or the simulator) the
// thread sleeps with Clock::sleepUntil, which follows that clock's time exactly but cannot be
// interrupted: stopping abandons such a block, and its thread ends without running it when the
// clock reaches the due time or shuts down.

#include <functional>
#include <memory>

#include <vlq/Export.h>
#include <vlq/host/reference/HostWork.h>
#include <vlq/host/reference/WorkerThreads.h>

namespace vlq::reference {

class VLQ_API DelayedBlockScheduler {
 public:
  explicit DelayedBlockScheduler(HostWorkCounter& work);
  ~DelayedBlockScheduler();

  // Schedules `block`; a negative or NaN delay counts as zero. Empty blocks are ignored.
  void schedule(double seconds, std::function<void()> block);
  // Drops every block not yet run and waits for the one running, if any.
  void stop();

 private:
  struct Timetable;

  HostWorkCounter& work_;
  const std::shared_ptr<Timetable> timetable_;
  const std::shared_ptr<WorkerThreads> threads_;
};

}  // namespace vlq::reference
