#include <algorithm>
#include <cmath>
#include <utility>

#include <vlq/toolkit/VirtualClock.h>

namespace vlq::toolkit {

VirtualClock::VirtualClock(double epoch, std::shared_ptr<WorkTracker> tracker)
    : epoch_(epoch), tracker_(tracker ? std::move(tracker) : WorkTracker::create()) {}

void VirtualClock::sleepUntil(double deadline) {
  if (std::isnan(deadline)) return;
  const auto self = std::this_thread::get_id();
  const auto driver = driver_.load();
  // Without a driver nothing would wake a sleeper whose deadline has passed.
  if (self == driver || (driver == std::thread::id{} && deadline <= now())) return;

  // A deadline already reached still waits for the driver's next due point, so that what the
  // thread does next happens after the work in flight has settled, as it would at a later time.
  std::unique_lock lock(mutex_);
  if (shutDown_) return;
  Sleeper sleeper{deadline, self};
  const auto entry = sleepers_.insert(sleepers_.end(), &sleeper);
  // Reported under the clock's lock, so that advanceTo cannot wake this thread before the tracker
  // has heard that it sleeps.
  tracker_->threadWillSleep(self);
  wake_.wait(lock, [&] { return sleeper.woken || shutDown_; });
  sleepers_.erase(entry);
  if (!sleeper.woken) tracker_->threadStoppedSleeping(self);
}

std::optional<double> VirtualClock::earliestSleeperDeadline() const {
  std::lock_guard lock(mutex_);
  std::optional<double> earliest;
  for (const auto* sleeper : sleepers_) {
    if (sleeper->woken) continue;
    if (!earliest || sleeper->deadline < *earliest) earliest = sleeper->deadline;
  }
  return earliest;
}

void VirtualClock::advanceTo(double time) {
  std::lock_guard lock(mutex_);
  if (time > now_.load()) now_.store(time);
}

bool VirtualClock::wakeNextDueSleeper() {
  std::lock_guard lock(mutex_);
  Sleeper* next = nullptr;
  for (auto* sleeper : sleepers_) {
    if (sleeper->woken || sleeper->deadline > now_.load()) continue;
    if (!next || sleeper->deadline < next->deadline) next = sleeper;
  }
  if (!next) return false;
  next->woken = true;
  tracker_->threadWoken(next->thread);
  wake_.notify_all();
  return true;
}

void VirtualClock::shutDown() {
  std::lock_guard lock(mutex_);
  shutDown_ = true;
  wake_.notify_all();
}

}  // namespace vlq::toolkit
