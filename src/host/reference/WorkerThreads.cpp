#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <vlq/host/reference/WorkerThreads.h>
#include <vlq/toolkit/RunLoop.h>

namespace vlq::reference {

struct WorkerThreads::State {
  std::mutex mutex;
  std::condition_variable changed;
  bool stopped = false;
  int running = 0;  // started workers that have not ended and are not parked
};

namespace {

// Per thread: the workers it belongs to, and whether it came back from a park after the stop (it
// then no longer counts as running).
struct CurrentWorker {
  const void* owner = nullptr;
  bool abandoned = false;
};
thread_local CurrentWorker currentWorker;

}  // namespace

WorkerThreads::WorkerThreads() : state_(std::make_shared<State>()) {}

WorkerThreads::~WorkerThreads() {
  stopAndWait();
}

bool WorkerThreads::start(std::function<void()> work) {
  {
    std::lock_guard lock(state_->mutex);
    if (state_->stopped) return false;
    ++state_->running;
  }
  try {
    std::thread([state = state_, work = std::move(work)]() mutable {
      currentWorker.owner = state.get();
      {
        auto running = std::move(work);
        toolkit::runContained(running);
      }  // whatever the work captured is released before the worker counts as ended
      if (currentWorker.abandoned) return;
      std::lock_guard lock(state->mutex);
      --state->running;
      state->changed.notify_all();
    }).detach();
    return true;
  } catch (const std::system_error&) {
    std::lock_guard lock(state_->mutex);
    --state_->running;
    state_->changed.notify_all();
    return false;
  }
}

void WorkerThreads::park() {
  if (currentWorker.owner != state_.get()) return;
  std::lock_guard lock(state_->mutex);
  --state_->running;
  state_->changed.notify_all();
}

bool WorkerThreads::unpark() {
  if (currentWorker.owner != state_.get()) return !stopped();
  std::lock_guard lock(state_->mutex);
  if (state_->stopped) {
    currentWorker.abandoned = true;
    return false;
  }
  ++state_->running;
  return true;
}

void WorkerThreads::stopAndWait() {
  const int own = currentWorker.owner == state_.get() && !currentWorker.abandoned ? 1 : 0;
  std::unique_lock lock(state_->mutex);
  state_->stopped = true;
  state_->changed.wait(lock, [&] { return state_->running <= own; });
}

bool WorkerThreads::stopped() const {
  std::lock_guard lock(state_->mutex);
  return state_->stopped;
}

}  // namespace vlq::reference
