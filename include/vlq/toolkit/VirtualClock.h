#pragma once

// A clock whose time moves only when its driver (a VirtualRunLoop) moves it. Threads that sleep on
// it are woken when virtual time reaches their deadlines, and the clock tells the loop's
// WorkTracker when they sleep and wake, so that the loop knows when they are done (see
// WorkTracker.h for the model).

#include <atomic>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include <vlq/Export.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/WorkTracker.h>

namespace vlq::toolkit {

class VLQ_API VirtualClock : public Clock {
 public:
  // 2023-11-14 22:13:20 UTC: a fixed, recent wall time for virtual runs.
  static constexpr double kDefaultEpoch = 1'700'000'000;

  // Starts at now() == 0, with timeIntervalSince1970() == epoch. Sleeps and wakes are reported to
  // `tracker` (a new one when null).
  explicit VirtualClock(double epoch = kDefaultEpoch,
                        std::shared_ptr<WorkTracker> tracker = nullptr);

  double now() const override { return now_.load(); }
  double timeIntervalSince1970() const override { return epoch_ + now(); }
  // Blocks until the driver wakes the thread at a due point at or after `deadline`; a deadline
  // already reached waits for the next one, after the work in flight has settled. Returns at once
  // when the deadline is not a number, when called on the driver thread (nothing else could move
  // the time while it waits), when no driver is bound and the deadline has passed, and once the
  // clock has shut down. An infinite deadline waits for the shutdown.
  void sleepUntil(double deadline) override;

  const std::shared_ptr<WorkTracker>& tracker() const { return tracker_; }

  // Driving. The thread that drives the clock never sleeps on it.
  void setDriverThread(std::thread::id thread) { driver_.store(thread); }
  // The earliest deadline a thread sleeps on, if any.
  std::optional<double> earliestSleeperDeadline() const;
  // Moves the time to `time` (never backwards) without waking anyone.
  void advanceTo(double time);
  // Wakes the one sleeper that is next due at the current time (earliest deadline, ties in the
  // order they went to sleep), which counts as busy in the tracker from this moment; returns
  // false when none is due.
  bool wakeNextDueSleeper();
  // Wakes every sleeper and makes later sleeps return at once; for tearing a run down.
  void shutDown();

 private:
  struct Sleeper {
    double deadline;
    std::thread::id thread;
    bool woken = false;
  };

  const double epoch_;
  const std::shared_ptr<WorkTracker> tracker_;
  std::atomic<double> now_{0};
  std::atomic<std::thread::id> driver_{};

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::list<Sleeper*> sleepers_;
  bool shutDown_ = false;
};

}  // namespace vlq::toolkit
