#pragma once

// Host work in flight: a sync, a post, an event on its way to the listeners or a delayed block.
// Each piece is announced to the main queue (so that a virtual run loop waits for it before it
// decides that nothing more will happen, see toolkit/WorkTracker.h) and counted, so that tools can
// ask whether the host is idle. Both are taken on the thread that hands the work over, before the
// hand-over returns, and end when the work has run or has been dropped.

#include <atomic>
#include <cstdint>
#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/WorkTracker.h>

namespace vlq::reference {

class VLQ_API HostWork {
 public:
  HostWork() = default;
  HostWork(HostWork&& other) noexcept = default;
  HostWork& operator=(HostWork&& other) noexcept;
  HostWork(const HostWork&) = delete;
  HostWork& operator=(const HostWork&) = delete;
  ~HostWork();

  // Makes the calling thread the holder of the main queue's token: while it sleeps on the virtual
  // clock, the work does not keep the loop from moving the time on.
  void holdOnThisThread();
  // Ends the work now.
  void finish();

 private:
  friend class HostWorkCounter;
  HostWork(toolkit::WorkToken token, std::shared_ptr<std::atomic<std::int64_t>> inFlight);

  toolkit::WorkToken token_;
  std::shared_ptr<std::atomic<std::int64_t>> inFlight_;
};

// Counts the host's work in flight.
class VLQ_API HostWorkCounter {
 public:
  // Starts one piece of work; call it on the thread that hands the work over.
  HostWork begin();
  // True when no work is in flight.
  bool idle() const { return inFlight_->load() == 0; }

 private:
  const std::shared_ptr<std::atomic<std::int64_t>> inFlight_ =
      std::make_shared<std::atomic<std::int64_t>>(0);
};

}  // namespace vlq::reference
