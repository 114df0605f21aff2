#include <algorithm>
#include <chrono>
#include <cmath>

#include <vlq/toolkit/VirtualRunLoop.h>

namespace vlq::toolkit {

// One pumping call: once a wait for tracked work has timed out, the rest of the call runs what is
// ready without waiting again, so a stuck thread costs one timeout, not one per step.
struct VirtualRunLoop::Pass {
  bool gaveUp = false;
};

namespace {

// Resets the loop's pumping flag however the pumping call ends.
class PumpingScope {
 public:
  explicit PumpingScope(bool& flag) : flag_(flag) {}
  PumpingScope(const PumpingScope&) = delete;
  PumpingScope& operator=(const PumpingScope&) = delete;
  ~PumpingScope() { flag_ = false; }

 private:
  bool& flag_;
};

std::chrono::steady_clock::time_point realDeadlineAfter(double seconds) {
  const auto now = std::chrono::steady_clock::now();
  // Clamped so that a huge or infinite timeout cannot overflow the time point.
  const double bounded = std::isnan(seconds) ? 0 : std::clamp(seconds, 0.0, 1e6);
  return now + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                   std::chrono::duration<double>(bounded));
}

}  // namespace

VirtualRunLoop::VirtualRunLoop(double epoch)
    : tracker_(WorkTracker::create()),
      clock_(std::make_shared<VirtualClock>(epoch, tracker_)),
      thread_(std::this_thread::get_id()) {
  clock_->setDriverThread(std::this_thread::get_id());
}

VirtualRunLoop::~VirtualRunLoop() {
  clock_->shutDown();
  queue_.clear();
}

void VirtualRunLoop::post(Task task) {
  queue_.post(std::move(task));
  tracker_->notify();
}

void VirtualRunLoop::postAfter(double delay, Task task) {
  if (!(delay > 0)) return post(std::move(task));
  queue_.postAt(now() + delay, std::move(task));
  tracker_->notify();
}

bool VirtualRunLoop::isLoopThread() const {
  return thread_.load() == std::this_thread::get_id();
}

void VirtualRunLoop::bindToCurrentThread() {
  thread_.store(std::this_thread::get_id());
  clock_->setDriverThread(std::this_thread::get_id());
}

bool VirtualRunLoop::runUntilIdle() {
  if (!beginPumping()) return false;
  PumpingScope scope(pumping_);
  Pass pass;
  // Threads asleep on a deadline already reached are due now: each wakes after the rest settled.
  do {
    settle(pass);
  } while (!pass.gaveUp && clock_->wakeNextDueSleeper());
  return !pass.gaveUp;
}

bool VirtualRunLoop::advance(double seconds) {
  if (!beginPumping()) return false;
  PumpingScope scope(pumping_);
  if (!std::isfinite(seconds) || seconds < 0) seconds = 0;
  const double target = now() + seconds;
  Pass pass;
  for (;;) {
    settle(pass);
    // Threads due now wake one at a time, each after the timers due now and after the threads
    // before it have settled, so that their posts arrive in the same order on every run.
    if (clock_->wakeNextDueSleeper()) continue;
    std::optional<double> next = queue_.nextDue();
    if (auto sleeper = clock_->earliestSleeperDeadline(); sleeper && (!next || *sleeper < *next)) {
      next = sleeper;
    }
    if (next && *next <= target) {
      clock_->advanceTo(*next);
    } else if (now() < target) {
      clock_->advanceTo(target);
    } else {
      return !pass.gaveUp;
    }
  }
}

bool VirtualRunLoop::runUntil(const std::function<bool()>& predicate, double realTimeoutSeconds) {
  if (!predicate || !beginPumping()) return false;
  PumpingScope scope(pumping_);
  const auto deadline = realDeadlineAfter(realTimeoutSeconds);
  for (;;) {
    runReady();
    if (predicate()) return true;
    if (clock_->wakeNextDueSleeper()) continue;
    const bool arrived =
        tracker_->waitUntil(deadline, [&](std::size_t) { return queue_.hasWorkAt(now()); });
    if (!arrived) {
      runReady();
      return predicate();
    }
  }
}

bool VirtualRunLoop::beginPumping() {
  if (!isLoopThread() || pumping_) return false;
  pumping_ = true;
  return true;
}

void VirtualRunLoop::runReady() {
  for (;;) {
    queue_.promoteDueTimers(now());
    Task task = queue_.popReady();
    if (!task) return;
    runContained(task);
  }
}

void VirtualRunLoop::settle(Pass& pass) {
  for (;;) {
    runReady();
    if (pass.gaveUp) return;
    const bool settled =
        tracker_->waitUntil(realDeadlineAfter(settleTimeout_.load()),
                            [&](std::size_t busy) { return busy == 0 || queue_.hasWorkAt(now()); });
    if (!settled) {
      pass.gaveUp = true;
      runReady();
      return;
    }
    if (!queue_.hasWorkAt(now())) return;
  }
}

}  // namespace vlq::toolkit
