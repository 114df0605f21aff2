#pragma once

// The host's events: listeners register for an event type, and each raised event is delivered to
// the listeners of its type on the host's one event thread, in the order the events were raised
// and, for one event, in the order the listeners registered. Never on the raising thread, never on
// the main thread.

#include <cstdint>
#include <functional>
#include <memory>

#include <vlq/Export.h>
#include <vlq/host/VLQEvent.h>
#include <vlq/host/VLQEventListener.h>
#include <vlq/host/reference/HostWork.h>
#include <vlq/host/reference/WorkerThreads.h>

namespace vlq::reference {

class VLQ_API EventDispatcher {
 public:
  explicit EventDispatcher(HostWorkCounter& work);
  ~EventDispatcher();

  // Null listeners are ignored. A listener registered twice hears each event twice.
  void registerListener(std::int64_t eventType, std::shared_ptr<VLQEventListener> listener);
  // Queues `event` for the listeners registered for its type now; returns at once. An event that
  // nobody listens to is dropped.
  void raise(std::shared_ptr<const VLQEvent> event);
  // Queues `task` to run on the event thread, in order with the events raised around it; returns
  // at once. Dropped once stopped.
  void post(std::function<void()> task);
  // Delivers `event` at once, on the calling thread, to the listeners registered for its type: for
  // a task running on the event thread.
  void deliverHere(const std::shared_ptr<const VLQEvent>& event);
  // Drops the events not yet delivered and ends the event thread (after the delivery under way).
  void stop();

 private:
  struct Queue;
  static void deliverUntilStopped(const std::shared_ptr<Queue>& queue);

  HostWorkCounter& work_;
  const std::shared_ptr<Queue> queue_;
  WorkerThreads thread_;
};

}  // namespace vlq::reference
