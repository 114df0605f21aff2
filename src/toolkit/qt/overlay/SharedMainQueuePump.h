#pragma once

// One pump of the main queue for all the overlays of a program. The toolkit's real-time run loop
// has a single wake handler, so the overlays share one MainQueuePump on the GUI thread: the first
// overlay makes it (installing a real-time main loop when the main queue has another kind), each
// overlay hears after every pump that ran something, and the last one to go takes it down.

#include <memory>

namespace vlq::toolkit::qt {

class MainQueueListener {
 public:
  virtual ~MainQueueListener() = default;
  // After a pump of the main queue that ran something, on the GUI thread.
  virtual void mainQueueRan() = 0;
};

class SharedMainQueuePump {
 public:
  // Joins `listener` to the pump, making the pump on first use; on the GUI thread.
  explicit SharedMainQueuePump(MainQueueListener& listener);
  ~SharedMainQueuePump();
  SharedMainQueuePump(const SharedMainQueuePump&) = delete;
  SharedMainQueuePump& operator=(const SharedMainQueuePump&) = delete;

  // Runs what the main queue has ready now, as a pump would.
  void pumpNow();

 private:
  struct Shared;
  // The pump in use, while some overlay holds it.
  static std::weak_ptr<Shared>& current();

  MainQueueListener& listener_;
  std::shared_ptr<Shared> shared_;
};

}  // namespace vlq::toolkit::qt
