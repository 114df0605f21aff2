#pragma once

// Work in flight on threads other than the main one, as the virtual run loop sees it.
//
// The virtual loop may only decide that nothing more will happen at the current virtual time, and
// move time on, once no other thread is still doing work that can post to the main queue. Such
// work is announced with a WorkToken, taken on the thread that hands the work over, before the
// hand-over returns, and destroyed by whoever finishes it:
//
//   auto token = mainQueue().beginWork();
//   std::thread([token = std::move(token)]() mutable {
//     token.holdOnThisThread();                     // only needed before sleeping, see below
//     currentClock()->sleepUntil(deadline);
//     mainQueue().async(...);
//   }).detach();                                    // the token ends with the thread's lambda
//
// The model. The tracker counts busy units:
// - every live token is one unit, except while the thread holding it (the last one to call
//   holdOnThisThread) sleeps in VirtualClock::sleepUntil: a sleeper can do nothing until virtual
//   time reaches its deadline, so it must not stop time from getting there;
// - every thread that virtual time has woken is one unit from the moment it is woken (set by the
//   waking thread, so there is no gap) until it sleeps again, releases one of the tokens it holds
//   (or any token, on that thread), or exits.
// The loop is idle when the count is zero. A thread that sleeps without ever having taken a token
// is seen only once it is asleep: take the token at the hand-over to close that gap.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include <vlq/Export.h>

namespace vlq::toolkit {

class WorkTracker;

// One unit of work in flight; movable, released when destroyed. A default-constructed token
// tracks nothing (what a loop without work tracking hands out).
class VLQ_API WorkToken {
 public:
  WorkToken() = default;
  WorkToken(WorkToken&& other) noexcept;
  WorkToken& operator=(WorkToken&& other) noexcept;
  WorkToken(const WorkToken&) = delete;
  WorkToken& operator=(const WorkToken&) = delete;
  ~WorkToken();

  // Makes the calling thread the token's holder: while that thread sleeps on the virtual clock,
  // the token does not count as busy.
  void holdOnThisThread();
  // Ends the work now; the token then tracks nothing.
  void release();
  // True while the token tracks work.
  explicit operator bool() const { return tracker_ != nullptr; }

 private:
  friend class WorkTracker;
  WorkToken(std::shared_ptr<WorkTracker> tracker, std::uint64_t id);

  std::shared_ptr<WorkTracker> tracker_;
  std::uint64_t id_ = 0;
};

class VLQ_API WorkTracker : public std::enable_shared_from_this<WorkTracker> {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static std::shared_ptr<WorkTracker> create();

  // Starts one unit of work; it counts until the token is released.
  WorkToken begin();

  // The number of busy units now.
  std::size_t busyCount() const;

  // Blocks until `done(busyCount)` holds or the real-time `deadline` passes; returns whether it
  // held. `done` runs with the tracker's lock held, whenever the count changes or notify() is
  // called; it must not call back into the tracker.
  bool waitUntil(TimePoint deadline, const std::function<bool(std::size_t busy)>& done);
  // Makes waiters re-check their condition (the loop calls it when a block is posted).
  void notify();

  // For VirtualClock: the calling thread is about to sleep / the waking thread wakes `thread` /
  // a sleep ended without virtual time reaching it (the clock shut down).
  void threadWillSleep(std::thread::id thread);
  void threadWoken(std::thread::id thread);
  void threadStoppedSleeping(std::thread::id thread);

 private:
  struct Token {
    std::thread::id holder;  // default id: held by no thread
  };
  struct ThreadState {
    bool sleeping = false;
    bool woken = false;
  };

  WorkTracker() = default;

  void hold(std::uint64_t token, std::thread::id thread);
  void release(std::uint64_t token, std::thread::id releasingThread);
  void threadExited(std::thread::id thread);
  std::size_t busyCountLocked() const;
  void dropThreadIfIdle(std::thread::id thread);
  void watchThreadExit();

  friend class WorkToken;
  friend struct ThreadExitWatch;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t nextToken_ = 1;
  std::map<std::uint64_t, Token> tokens_;
  std::map<std::thread::id, ThreadState> threads_;
};

// Wraps `work` so that `token` counts until the work has run (or been dropped without running);
// the thread that runs it holds the token meanwhile.
VLQ_API std::function<void()> trackedWork(WorkToken token, std::function<void()> work);

}  // namespace vlq::toolkit
