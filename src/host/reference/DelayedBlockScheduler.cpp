#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include <vlq/host/reference/DelayedBlockScheduler.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/RunLoop.h>

namespace vlq::reference {

namespace {

// The longest single wait on the system clock. A delay of any length, infinite included, is waited
// in steps of at most this, since a longer time cannot be converted to the clock's ticks.
constexpr double kLongestWaitSeconds = 3600;

}  // namespace

// The blocks waiting to run, by due time and then by the order they were scheduled.
struct DelayedBlockScheduler::Timetable {
  using Key = std::pair<double, std::uint64_t>;
  // The work ends when the block has run or has been dropped, whichever thread does it, so that
  // abandoned sleepers do not keep the host busy.
  struct Entry {
    std::function<void()> block;
    HostWork work;
  };

  std::mutex mutex;
  std::condition_variable changed;  // wakes interruptible waits when stopping
  std::map<Key, Entry> blocks;
  std::uint64_t nextSequence = 0;
  bool stopped = false;
  // Held while a block runs, so that blocks never run at the same time.
  std::mutex running;

  // Makes the calling thread the holder of the work of the block under `key`, if still pending.
  void holdWork(const Key& key);
  // Waits until `clock` reaches `deadline`; false when stopped meanwhile.
  bool waitUntil(const std::shared_ptr<toolkit::Clock>& clock, double deadline,
                 WorkerThreads& threads);
  // Runs, in order, every block that is due on `clock`, until none is left or stopped.
  void runDueBlocks(const toolkit::Clock& clock);
};

void DelayedBlockScheduler::Timetable::holdWork(const Key& key) {
  std::lock_guard lock(mutex);
  const auto found = blocks.find(key);
  if (found != blocks.end()) found->second.work.holdOnThisThread();
}

bool DelayedBlockScheduler::Timetable::waitUntil(const std::shared_ptr<toolkit::Clock>& clock,
                                                 double deadline, WorkerThreads& threads) {
  if (dynamic_cast<toolkit::SystemClock*>(clock.get())) {
    std::unique_lock lock(mutex);
    while (!stopped) {
      const double remaining = deadline - clock->now();
      if (!(remaining > 0)) break;
      changed.wait_for(lock,
                       std::chrono::duration<double>(std::min(remaining, kLongestWaitSeconds)));
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
    Entry entry;
    {
      std::lock_guard lock(mutex);
      if (stopped || blocks.empty()) return;
      const auto first = blocks.begin();
      if (first->first.first > clock.now()) return;
      entry = std::move(first->second);
      blocks.erase(first);
    }
    toolkit::runContained(entry.block);
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
  const double now = clock->now();
  // A positive delay always ends after now, even where the clock's value is too large for the
  // delay to change it: a block that reschedules itself (a retry) must not come due at once, over
  // and over.
  double deadline = now + seconds;
  if (seconds > 0 && !(deadline > now)) deadline = std::nextafter(now, HUGE_VAL);
  auto work = work_.begin();
  Timetable::Key key;
  {
    std::lock_guard lock(timetable_->mutex);
    if (timetable_->stopped) return;
    key = {deadline, timetable_->nextSequence++};
    timetable_->blocks.emplace(key, Timetable::Entry{std::move(block), std::move(work)});
  }
  // The thread owns the timetable and the threads by shared pointer: an abandoned sleeper may
  // wake after the scheduler is gone.
  threads_->start([timetable = timetable_, threads = threads_, clock = std::move(clock), key] {
    timetable->holdWork(key);
    if (!timetable->waitUntil(clock, key.first, *threads)) return;
    timetable->runDueBlocks(*clock);
  });
}

void DelayedBlockScheduler::stop() {
  std::map<Timetable::Key, Timetable::Entry> dropped;
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
