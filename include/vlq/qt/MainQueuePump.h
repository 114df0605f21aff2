#pragma once

// Runs the main queue from Qt's event loop. The toolkit's real-time run loop wakes the pump from
// whatever thread posts a block; the pump then runs the ready blocks from Qt's event loop on the
// main thread, and keeps a single-shot timer for the loop's next timer.

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

#include <vlq/Export.h>
#include <vlq/toolkit/RealTimeRunLoop.h>

namespace vlq::toolkit::qt {

// The main run loop when it is a real-time one; otherwise a new real-time loop on this thread,
// installed in its place.
VLQ_API std::shared_ptr<RealTimeRunLoop> installRealTimeMainLoop();

class VLQ_API MainQueuePump {
 public:
  // Pumps `loop` on the calling thread (which becomes the loop's thread) from Qt's event loop,
  // calling `afterRun` after every pump that ran something.
  MainQueuePump(std::shared_ptr<RealTimeRunLoop> loop, std::function<void()> afterRun);
  ~MainQueuePump();
  MainQueuePump(const MainQueuePump&) = delete;
  MainQueuePump& operator=(const MainQueuePump&) = delete;

  // Runs what is ready now; returns how many blocks and timers ran.
  std::size_t pump();

 private:
  struct WakeState;

  void scheduleTimer();

  std::shared_ptr<RealTimeRunLoop> loop_;
  std::function<void()> afterRun_;
  std::unique_ptr<QObject> context_;
  QTimer* timer_ = nullptr;
  std::shared_ptr<WakeState> wake_;
};

}  // namespace vlq::toolkit::qt
