#pragma once

// Where the toolkit and the code above it read the time. A program installs one clock for the
// process: the system clock by default, the virtual clock of a VirtualRunLoop in tests and in the
// simulator, so that everything that measures or waits for time follows the loop's time.

#include <memory>

#include <vlq/Export.h>

namespace vlq::toolkit {

class VLQ_API Clock {
 public:
  virtual ~Clock() = default;

  // Monotonic seconds since an arbitrary start; never goes backwards.
  virtual double now() const = 0;
  // Seconds since 1970-01-01 00:00 UTC, as NSDate's timeIntervalSince1970 gives it.
  virtual double timeIntervalSince1970() const = 0;
  // Blocks the calling thread until now() >= deadline. Host threads that must follow the main
  // loop's time (delayed blocks, simulated network latency) wait with this, not with the
  // standard library's sleeps.
  virtual void sleepUntil(double deadline) = 0;
};

// The real clock: steady time for now() and sleepUntil, system time for the wall clock.
class VLQ_API SystemClock : public Clock {
 public:
  double now() const override;
  double timeIntervalSince1970() const override;
  void sleepUntil(double deadline) override;
};

// The process-wide clock; never null. The returned pointer keeps the clock alive for the caller
// even if another thread replaces it meanwhile.
VLQ_API std::shared_ptr<Clock> currentClock();
// Installs `clock` for the process (null restores the system clock); returns the one it replaces.
// Installing a main run loop (setMainRunLoop) installs that loop's clock.
VLQ_API std::shared_ptr<Clock> setCurrentClock(std::shared_ptr<Clock> clock);

// The current clock's wall time, in seconds since 1970.
VLQ_API double timeIntervalSince1970();

}  // namespace vlq::toolkit
