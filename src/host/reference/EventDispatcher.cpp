#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include <vlq/host/reference/EventDispatcher.h>
#include <vlq/toolkit/RunLoop.h>

namespace vlq::reference {

namespace {

// An event for its listeners, or a task (then the event is null).
struct Delivery {
  std::shared_ptr<const VLQEvent> event;
  std::vector<std::shared_ptr<VLQEventListener>> listeners;
  HostWork work;
  std::function<void()> task;
};

}  // namespace

// Shared with the event thread, which may outlive the dispatcher by a moment when a listener stops
// the host from the event thread itself.
struct EventDispatcher::Queue {
  std::mutex mutex;
  std::condition_variable changed;
  std::map<std::int64_t, std::vector<std::shared_ptr<VLQEventListener>>> listeners;
  std::deque<Delivery> pending;
  bool stopped = false;
};

EventDispatcher::EventDispatcher(HostWorkCounter& work)
    : work_(work), queue_(std::make_shared<Queue>()) {
  thread_.start([queue = queue_] { deliverUntilStopped(queue); });
}

EventDispatcher::~EventDispatcher() {
  stop();
}

void EventDispatcher::registerListener(std::int64_t eventType,
                                       std::shared_ptr<VLQEventListener> listener) {
  if (!listener) return;
  std::lock_guard lock(queue_->mutex);
  if (queue_->stopped) return;
  queue_->listeners[eventType].push_back(std::move(listener));
}

void EventDispatcher::raise(std::shared_ptr<const VLQEvent> event) {
  if (!event) return;
  // Taken before the lock and released (if unused) after it, so that no token is released while
  // the queue's lock is held.
  auto work = work_.begin();
  std::lock_guard lock(queue_->mutex);
  if (queue_->stopped) return;
  const auto found = queue_->listeners.find(event->eventType());
  if (found == queue_->listeners.end() || found->second.empty()) return;
  queue_->pending.push_back({std::move(event), found->second, std::move(work), {}});
  queue_->changed.notify_one();
}

void EventDispatcher::post(std::function<void()> task) {
  if (!task) return;
  auto work = work_.begin();
  std::lock_guard lock(queue_->mutex);
  if (queue_->stopped) return;
  queue_->pending.push_back({nullptr, {}, std::move(work), std::move(task)});
  queue_->changed.notify_one();
}

void EventDispatcher::deliverHere(const std::shared_ptr<const VLQEvent>& event) {
  if (!event) return;
  std::vector<std::shared_ptr<VLQEventListener>> listeners;
  {
    std::lock_guard lock(queue_->mutex);
    if (queue_->stopped) return;
    const auto found = queue_->listeners.find(event->eventType());
    if (found != queue_->listeners.end()) listeners = found->second;
  }
  for (const auto& listener : listeners) {
    toolkit::runContained([&] { listener->onEvent(event); });
  }
}

void EventDispatcher::stop() {
  std::deque<Delivery> dropped;
  {
    std::lock_guard lock(queue_->mutex);
    queue_->stopped = true;
    dropped.swap(queue_->pending);
    queue_->listeners.clear();
    queue_->changed.notify_all();
  }
  dropped.clear();
  thread_.stopAndWait();
}

void EventDispatcher::deliverUntilStopped(const std::shared_ptr<Queue>& queue) {
  for (;;) {
    Delivery delivery;
    {
      std::unique_lock lock(queue->mutex);
      queue->changed.wait(lock, [&] { return queue->stopped || !queue->pending.empty(); });
      if (queue->stopped) return;
      delivery = std::move(queue->pending.front());
      queue->pending.pop_front();
    }
    delivery.work.holdOnThisThread();
    if (delivery.task) {
      toolkit::runContained(delivery.task);
      continue;
    }
    for (const auto& listener : delivery.listeners) {
      toolkit::runContained([&] { listener->onEvent(delivery.event); });
    }
  }
}

}  // namespace vlq::reference
