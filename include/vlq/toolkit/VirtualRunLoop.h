#pragma once

// The deterministic run loop: virtual time, driven by tests and the simulator.
//
// Nothing happens on its own. The driver (the loop's thread) calls runUntilIdle to run what is
// ready, advance to let virtual time pass, or runUntil to wait for another thread's post. Time
// moves only inside advance, and only from one due point to the next: the earliest main-queue
// timer or the earliest deadline a thread sleeps on in VirtualClock::sleepUntil. At each due point
// the timers due run first, then the threads due wake one at a time (earliest deadline first, ties
// in the order they went to sleep), each after everything before it has settled. So a timer runs
// exactly at its due time and sees that time in now(), and the order of events does not depend on
// thread scheduling.
//
// Other threads. Before deciding that nothing more is ready, and before each move of the time, the
// loop waits (in real time) until its WorkTracker is idle: no token is in flight except those held
// by threads asleep on the virtual clock, and every thread that virtual time woke has gone back to
// sleep, released its token or ended. While it waits it keeps running the blocks that arrive, so a
// thread blocked in mainQueue().sync is served. A host thread that sleeps until t = 2.5 and then
// posts therefore has its block run at t = 2.5, during advance(3), on every run. The wait is
// bounded (10 seconds of real time by default) so that a stuck thread fails the run instead of
// hanging it; the pumping call then returns false and stops waiting for the rest of the call.
//
// The loop's thread is the one that created it, or the last one to call bindToCurrentThread. The
// pumping calls do nothing (and return false) on any other thread or when called from a block that
// the loop is running. A block that posts itself again for ever keeps runUntilIdle busy for ever,
// as it would keep a real main thread busy.

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include <vlq/Export.h>
#include <vlq/toolkit/RunLoop.h>
#include <vlq/toolkit/TaskQueue.h>
#include <vlq/toolkit/VirtualClock.h>
#include <vlq/toolkit/WorkTracker.h>

namespace vlq::toolkit {

class VLQ_API VirtualRunLoop : public RunLoop {
 public:
  static constexpr double kDefaultSettleTimeout = 10;

  // Virtual time starts at 0; the clock's wall time is `epoch` plus that.
  explicit VirtualRunLoop(double epoch = VirtualClock::kDefaultEpoch);
  // Wakes every thread asleep on the clock (their sleeps end early) and drops pending blocks.
  ~VirtualRunLoop() override;

  void post(Task task) override;
  // A delay of zero or less queues the task as post does.
  void postAfter(double delay, Task task) override;
  bool isLoopThread() const override;
  void bindToCurrentThread() override;
  std::shared_ptr<Clock> clock() const override { return clock_; }
  WorkToken beginWork() override { return tracker_->begin(); }

  const std::shared_ptr<VirtualClock>& virtualClock() const { return clock_; }
  const std::shared_ptr<WorkTracker>& tracker() const { return tracker_; }
  double now() const { return clock_->now(); }
  // The due time of the earliest pending timer, if any.
  std::optional<double> nextTimerDue() const { return queue_.nextDue(); }

  // Runs every ready block, including blocks that they post and blocks that other threads post
  // meanwhile, and wakes the threads asleep on a deadline already reached (one at a time, each
  // after the rest settled), until nothing is ready and no tracked work is in flight. Time does not
  // move.
  // Returns false if it stopped waiting for tracked work that did not finish in time.
  bool runUntilIdle();
  // Lets `seconds` of virtual time pass (none when negative, NaN or infinite): at each due point
  // it moves the time there, wakes the sleepers due, and runs everything ready before moving on.
  // Ends with now() == start + seconds, idle. Returns false as runUntilIdle does.
  bool advance(double seconds);
  // Runs ready blocks as they arrive, without moving time, until `predicate` holds or
  // `realTimeoutSeconds` of real time pass; returns whether it holds.
  bool runUntil(const std::function<bool()>& predicate,
                double realTimeoutSeconds = kDefaultSettleTimeout);

  // The bound on each real-time wait for tracked work.
  void setSettleTimeout(double realSeconds) { settleTimeout_.store(realSeconds); }

 private:
  struct Pass;

  bool beginPumping();
  void runReady();
  void settle(Pass& pass);

  const std::shared_ptr<WorkTracker> tracker_;
  const std::shared_ptr<VirtualClock> clock_;
  TaskQueue queue_;
  std::atomic<std::thread::id> thread_;
  std::atomic<double> settleTimeout_{kDefaultSettleTimeout};
  bool pumping_ = false;  // only touched on the loop's thread
};

}  // namespace vlq::toolkit
