#include <algorithm>
#include <chrono>
#include <cmath>

#include <vlq/toolkit/RealTimeRunLoop.h>

namespace vlq::toolkit {
namespace {

// The longest single wait in runFor; longer spans are waited for in pieces.
constexpr double kLongestWait = 3600;

}  // namespace

RealTimeRunLoop::RealTimeRunLoop(std::shared_ptr<Clock> clock)
    : clock_(clock ? std::move(clock) : std::make_shared<SystemClock>()),
      thread_(std::this_thread::get_id()) {}

RealTimeRunLoop::~RealTimeRunLoop() {
  queue_.clear();
}

void RealTimeRunLoop::post(Task task) {
  if (!task) return;
  queue_.post(std::move(task));
  wake();
}

void RealTimeRunLoop::postAfter(double delay, Task task) {
  if (!task) return;
  if (!(delay > 0)) return post(std::move(task));
  queue_.postAt(clock_->now() + delay, std::move(task));
  wake();
}

bool RealTimeRunLoop::isLoopThread() const {
  return thread_.load() == std::this_thread::get_id();
}

void RealTimeRunLoop::bindToCurrentThread() {
  thread_.store(std::this_thread::get_id());
}

void RealTimeRunLoop::setWakeHandler(std::function<void()> handler) {
  std::lock_guard lock(wakeMutex_);
  wakeHandler_ = std::move(handler);
}

std::size_t RealTimeRunLoop::runReady() {
  if (!isLoopThread()) return 0;
  queue_.promoteDueTimers(clock_->now());
  std::size_t ran = 0;
  for (auto count = queue_.readyCount(); ran < count; ++ran) {
    Task task = queue_.popReady();
    if (!task) break;
    runContained(task);
  }
  return ran;
}

std::optional<double> RealTimeRunLoop::secondsUntilNextTimer() const {
  const auto due = queue_.nextDue();
  if (!due || !std::isfinite(*due)) return std::nullopt;
  return std::max(0.0, *due - clock_->now());
}

std::size_t RealTimeRunLoop::runFor(double seconds) {
  if (!isLoopThread()) return 0;
  if (std::isnan(seconds)) seconds = 0;
  const double end = clock_->now() + seconds;
  stopped_.store(false);
  std::size_t ran = 0;
  for (;;) {
    ran += runReady();
    const double remaining = end - clock_->now();
    if (remaining <= 0 || stopped_.load()) return ran;
    // Any post ends the wait, not only a ready one: a new timer may be due before `wait` is up.
    std::unique_lock lock(wakeMutex_);
    const auto wakesBefore = wakes_;
    double wait = std::min(remaining, kLongestWait);
    if (auto timer = secondsUntilNextTimer()) wait = std::min(wait, *timer);
    arrived_.wait_for(lock, std::chrono::duration<double>(wait), [&] {
      return wakes_ != wakesBefore || stopped_.load() || queue_.hasWorkAt(clock_->now());
    });
  }
}

void RealTimeRunLoop::stop() {
  std::lock_guard lock(wakeMutex_);
  stopped_.store(true);
  arrived_.notify_all();
}

void RealTimeRunLoop::wake() {
  std::function<void()> handler;
  {
    std::lock_guard lock(wakeMutex_);
    handler = wakeHandler_;
    ++wakes_;
    arrived_.notify_all();
  }
  runContained(handler);
}

}  // namespace vlq::toolkit
