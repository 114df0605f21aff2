#pragma once

// The loop behind the main queue. A program installs one with setMainRunLoop (DispatchQueue.h):
// a VirtualRunLoop in tests and the simulator, a RealTimeRunLoop for on-screen windows. The loop
// runs its tasks on one thread, the main thread: the thread that created the loop, or the last one
// that called bindToCurrentThread.

#include <functional>
#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/WorkTracker.h>

namespace vlq::toolkit {

using Task = std::function<void()>;

class VLQ_API RunLoop {
 public:
  virtual ~RunLoop() = default;

  // Queues `task` behind every task queued before it. Callable from any thread.
  virtual void post(Task task) = 0;
  // Queues `task` once `delay` seconds of the loop's clock have passed; timers fire in due order,
  // those due at the same time in the order they were scheduled. A negative or NaN delay counts
  // as zero. Callable from any thread.
  virtual void postAfter(double delay, Task task) = 0;

  // True on the loop's thread.
  virtual bool isLoopThread() const = 0;
  // Makes the calling thread the loop's thread.
  virtual void bindToCurrentThread() = 0;

  // The clock that the loop's timers follow.
  virtual std::shared_ptr<Clock> clock() const = 0;
  // Announces work on another thread that will post back (WorkTracker.h). Loops that do not
  // need to know hand out a token that tracks nothing.
  virtual WorkToken beginWork() { return {}; }
};

// Runs `task`, containing whatever it throws: a failed block ends silently and the loop goes on.
VLQ_API void runContained(const Task& task) noexcept;

}  // namespace vlq::toolkit
