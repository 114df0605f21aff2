#pragma once

// The tasks of one run loop: ready blocks in the order they were posted, and timers ordered by due
// time, then by the order they were scheduled. Both run loops keep their work in one. Thread-safe;
// tasks are always destroyed outside the queue's lock, since a task's captures may post again when
// they die.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include <vlq/Export.h>
#include <vlq/toolkit/RunLoop.h>

namespace vlq::toolkit {

class VLQ_API TaskQueue {
 public:
  TaskQueue() = default;
  TaskQueue(const TaskQueue&) = delete;
  TaskQueue& operator=(const TaskQueue&) = delete;
  ~TaskQueue() { clear(); }

  void post(Task task);
  // Schedules `task` for time `due` of the owner's clock (infinite: never).
  void postAt(double due, Task task);

  // Moves the timers due at `now` behind the ready blocks, in timer order.
  void promoteDueTimers(double now);
  // The first ready block (null when there is none).
  Task popReady();

  std::size_t readyCount() const;
  // True when a block is ready or a timer is due at `now`.
  bool hasWorkAt(double now) const;
  // The due time of the earliest timer, if any.
  std::optional<double> nextDue() const;

  // Drops every block and timer.
  void clear();

 private:
  mutable std::mutex mutex_;
  std::deque<Task> ready_;
  std::map<std::pair<double, std::uint64_t>, Task> timers_;
  std::uint64_t nextTimer_ = 0;
};

}  // namespace vlq::toolkit
