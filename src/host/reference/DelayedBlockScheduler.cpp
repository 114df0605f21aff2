#include "host/reference/DelayedBlockScheduler.h"

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include "toolkit/Clock.h"
#include "toolkit/RunLoop.h"

namespace vlq::reference {

// The blocks waiting to run, by due time and then by the order they were scheduled.
struct DelayedBlockScheduler::Timetable {
  using Key = std::pair<double, std::uint64_t>;

  std::mutex mutex;
  std::condition_variable changed;  // wakes interruptible waits when stopping
  std::map<Key, std::function<void()>> blocks;
  std::uint64_t nextSequence = 0;
  bool stopped = false;
  // Held while a block runs, so that blocks never run at the same time.
  std::mutex running;

  // Waits until `clock` reaches `deadline`; false when stopped meanwhile.
  bool waitUntil(const std::shared_ptr<toolkit::Clock>& clock, double deadline,
                 WorkerThreads& threads);
  // Runs, in order, every block that is due on `clock`, until none is left or stopped.
  void runDueBlocks(const toolkit::Clock& clock);
};

bool DelayedBlockScheduler::Timetable::waitUntil(const std::shared_ptr<toolkit::Clock>& clock,
                                                 double deadline, WorkerThreads& threads) {
  if (dynamic_cast<toolkit::SystemClock*>(clock.get())) {
    std::unique_lock lock(mutex);
    while (!stopped) {
      const double remaining = deadline - clock->now();
      if (!(remaining > 0)) break;
      changed.wait_for(lock, std::chrono::duration<double>(remaining));
    }
    return !stopped;
  }
  {
    std::lock_guard lock(mutex);
    if (stopped) return false;
  }
  threads.park();
  clock->sleepUntil(deadline);
  return threads.unpark();
}

void DelayedBlockScheduler::Timetable::runDueBlocks(const toolkit::Clock& clock) {
  std::lock_guard runningLock(running);
  for (;;) {
    std::function<void()> block;
    {
      std::lock_guard lock(mutex);
      if (stopped || blocks.empty()) return;
      const auto first = blocks.begin();
      if (first->first.first > clock.now()) return;
      block = std::move(first->second);
      blocks.erase(first);
    }
    toolkit::runContained(block);
  }
}

DelayedBlockScheduler::DelayedBlockScheduler(HostWorkCounter& work)
    : work_(work),
      timetable_(std::make_shared<Timetable>()),
      threads_(std::make_shared<WorkerThreads>()) {}

DelayedBlockScheduler::~DelayedBlockScheduler() {
  stop();
}

void DelayedBlockScheduler::schedule(double seconds, std::function<void()> block) {
  if (!block) return;
  if (!(seconds > 0)) seconds = 0;
  auto clock = toolkit::currentClock();
  const double deadline = clock->now() + seconds;
  auto work = std::make_shared<HostWork>(work_.begin());
  {
    std::lock_guard lock(timetable_->mutex);
    if (timetable_->stopped) return;
    timetable_->blocks.emplace(Timetable::Key{deadline, timetable_->nextSequence++},
                               std::move(block));
  }
  // The thread owns the timetable and the threads by shared pointer: an abandoned sleeper may
  // wake after the scheduler is gone.
  threads_->start([timetable = timetable_, threads = threads_, clock = std::move(clock), deadline,
                   work = std::move(work)] {
    work->holdOnThisThread();
    if (!timetable->waitUntil(clock, deadline, *threads)) return;
    timetable->runDueBlocks(*clock);
  });
}

void DelayedBlockScheduler::stop() {
  std::map<Timetable::Key, std::function<void()>> dropped;
  {
    std::lock_guard lock(timetable_->mutex);
    timetable_->stopped = true;
    dropped.swap(timetable_->blocks);
    timetable_->changed.notify_all();
  }
  dropped.clear();
  threads_->stopAndWait();
}

}  // namespace vlq::reference
