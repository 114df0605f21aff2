#include <vlq/toolkit/TaskQueue.h>

namespace vlq::toolkit {

void TaskQueue::post(Task task) {
  if (!task) return;
  std::lock_guard lock(mutex_);
  ready_.push_back(std::move(task));
}

void TaskQueue::postAt(double due, Task task) {
  if (!task) return;
  std::lock_guard lock(mutex_);
  timers_.emplace(std::pair(due, nextTimer_++), std::move(task));
}

void TaskQueue::promoteDueTimers(double now) {
  std::lock_guard lock(mutex_);
  while (!timers_.empty() && timers_.begin()->first.first <= now) {
    ready_.push_back(std::move(timers_.begin()->second));
    timers_.erase(timers_.begin());
  }
}

Task TaskQueue::popReady() {
  std::lock_guard lock(mutex_);
  if (ready_.empty()) return nullptr;
  Task task = std::move(ready_.front());
  ready_.pop_front();
  return task;
}

std::size_t TaskQueue::readyCount() const {
  std::lock_guard lock(mutex_);
  return ready_.size();
}

bool TaskQueue::hasWorkAt(double now) const {
  std::lock_guard lock(mutex_);
  return !ready_.empty() || (!timers_.empty() && timers_.begin()->first.first <= now);
}

std::optional<double> TaskQueue::nextDue() const {
  std::lock_guard lock(mutex_);
  if (timers_.empty()) return std::nullopt;
  return timers_.begin()->first.first;
}

void TaskQueue::clear() {
  std::deque<Task> ready;
  std::map<std::pair<double, std::uint64_t>, Task> timers;
  {
    std::lock_guard lock(mutex_);
    ready.swap(ready_);
    timers.swap(timers_);
  }
}

}  // namespace vlq::toolkit
