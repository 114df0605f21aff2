#pragma once

// The main queue: a serial queue on the main thread that runs all view work. It is backed by the
// run loop that the program installs (setMainRunLoop): blocks run in the order they were queued,
// timers in due order (those due together in the order they were scheduled), each on the loop's
// thread, the main thread. A block that throws is dropped and the queue goes on.
//
// Until a loop is installed, blocks and timers wait in the queue; the first loop installed
// receives them in order (a waiting timer's delay counts from then) and runs them when pumped.
// Installing a loop also installs its clock as the current clock (Clock.h); uninstalling (null)
// restores the system clock.

#include <functional>
#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/RunLoop.h>
#include <vlq/toolkit/WorkTracker.h>

namespace vlq::toolkit {

class VLQ_API DispatchQueue {
 public:
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  // Queues `block` and returns at once. Callable from any thread.
  void async(std::function<void()> block);
  // Runs `block` on the main thread and returns once it has run (or has been dropped unrun, with
  // its loop). Called on the main thread itself, it runs the block at once, inline: waiting for
  // the queue there could never end. From another thread it blocks until the main thread runs
  // the block, so a loop must be installed and pumped.
  void sync(std::function<void()> block);
  // A one-shot timer: queues `block` once `seconds` of the loop's clock have passed.
  void after(double seconds, std::function<void()> block);

  // Announces work on another thread that will post back to this queue (WorkTracker.h), so a
  // virtual loop waits for it before deciding that it is idle.
  WorkToken beginWork();
  // Wraps `work` so that it counts as such work from now until it has run.
  std::function<void()> tracked(std::function<void()> work);

 private:
  friend DispatchQueue& mainQueue();
  DispatchQueue() = default;
};

// The main queue.
VLQ_API DispatchQueue& mainQueue();

// True on the installed loop's thread; false everywhere while no loop is installed.
VLQ_API bool isMainThread();

// Installs `loop` behind the main queue (null uninstalls) and makes its clock current; returns the
// loop it replaces. A replaced loop keeps the blocks already queued on it. Thread-safe.
VLQ_API std::shared_ptr<RunLoop> setMainRunLoop(std::shared_ptr<RunLoop> loop);
// The installed loop, or null.
VLQ_API std::shared_ptr<RunLoop> mainRunLoop();

}  // namespace vlq::toolkit
