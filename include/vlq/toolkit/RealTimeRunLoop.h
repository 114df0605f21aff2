#pragma once

// The run loop for on-screen windows: real time, pumped by whoever owns the main thread. A GUI
// event loop installs a wake handler and calls runReady when woken and when
// secondsUntilNextTimer says a timer is due; a program without one calls runFor (and stop).

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include <vlq/Export.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/RunLoop.h>
#include <vlq/toolkit/TaskQueue.h>

namespace vlq::toolkit {

class VLQ_API RealTimeRunLoop : public RunLoop {
 public:
  // The creating thread is the loop's thread. `clock` defaults to the system clock.
  explicit RealTimeRunLoop(std::shared_ptr<Clock> clock = nullptr);
  ~RealTimeRunLoop() override;

  // Both call the wake handler after queueing.
  void post(Task task) override;
  void postAfter(double delay, Task task) override;
  bool isLoopThread() const override;
  void bindToCurrentThread() override;
  std::shared_ptr<Clock> clock() const override { return clock_; }

  // Called, on the posting thread and possibly on several at once, after every post and every
  // timer scheduled, so that an event loop can schedule a pump. It must not block; it may post.
  void setWakeHandler(std::function<void()> handler);

  // On the loop's thread: runs the blocks queued and the timers due when it is called (blocks that
  // they post wait for the next call, so that a GUI's own events are not starved). Returns how
  // many ran; 0 on any other thread.
  std::size_t runReady();
  // Seconds until the earliest timer is due (0 when overdue); none when no timer is pending.
  std::optional<double> secondsUntilNextTimer() const;
  // On the loop's thread: runs blocks and timers as they arrive for `seconds` of the clock's time,
  // blocking in between. Returns how many ran; 0 on any other thread.
  std::size_t runFor(double seconds);
  // Makes a runFor that is running return once the blocks it is running have finished; no effect
  // when none runs. Callable from any thread.
  void stop();

 private:
  void wake();

  const std::shared_ptr<Clock> clock_;
  TaskQueue queue_;
  std::atomic<std::thread::id> thread_;
  std::atomic<bool> stopped_ = false;

  std::mutex wakeMutex_;
  std::condition_variable arrived_;
  std::uint64_t wakes_ = 0;            // guarded by wakeMutex_
  std::function<void()> wakeHandler_;  // guarded by wakeMutex_
};

}  // namespace vlq::toolkit
