#include <QMetaObject>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <mutex>

#include <vlq/qt/MainQueuePump.h>
#include <vlq/toolkit/DispatchQueue.h>

namespace vlq::toolkit::qt {

// Shared with the wake handler, which may still run on another thread while the pump goes away:
// it reaches the pump's context only under the mutex, and not at all once the pump has left.
struct MainQueuePump::WakeState {
  std::mutex mutex;
  QObject* context = nullptr;     // guarded by mutex
  MainQueuePump* pump = nullptr;  // guarded by mutex
  // A pump is queued on Qt's event loop and has not started yet: further wakes need none.
  std::atomic<bool> queued{false};

  void wake() {
    if (queued.exchange(true)) return;
    std::lock_guard lock(mutex);
    if (!context) return;
    // Queued to the context's thread; Qt drops it if the context is gone by then.
    QMetaObject::invokeMethod(
        context, [target = pump] { target->pump(); }, Qt::QueuedConnection);
  }
};

std::shared_ptr<RealTimeRunLoop> installRealTimeMainLoop() {
  if (auto loop = std::dynamic_pointer_cast<RealTimeRunLoop>(mainRunLoop())) return loop;
  auto loop = std::make_shared<RealTimeRunLoop>();
  setMainRunLoop(loop);
  return loop;
}

MainQueuePump::MainQueuePump(std::shared_ptr<RealTimeRunLoop> loop, std::function<void()> afterRun)
    : loop_(std::move(loop)),
      afterRun_(std::move(afterRun)),
      context_(std::make_unique<QObject>()),
      wake_(std::make_shared<WakeState>()) {
  timer_ = new QTimer(context_.get());
  timer_->setSingleShot(true);
  timer_->setTimerType(Qt::PreciseTimer);
  QObject::connect(timer_, &QTimer::timeout, context_.get(), [this] { pump(); });
  {
    std::lock_guard lock(wake_->mutex);
    wake_->context = context_.get();
    wake_->pump = this;
  }
  if (!loop_) return;
  loop_->bindToCurrentThread();
  loop_->setWakeHandler([state = wake_] { state->wake(); });
  // Blocks may be waiting already.
  wake_->wake();
}

MainQueuePump::~MainQueuePump() {
  {
    std::lock_guard lock(wake_->mutex);
    wake_->context = nullptr;
    wake_->pump = nullptr;
  }
  if (loop_) loop_->setWakeHandler(nullptr);
  context_.reset();
}

std::size_t MainQueuePump::pump() {
  if (!loop_) return 0;
  // Wakes from here on need another pump: the blocks they announce may not run in this one.
  wake_->queued.store(false);
  const std::size_t ran = loop_->runReady();
  if (ran > 0 && afterRun_) afterRun_();
  scheduleTimer();
  return ran;
}

void MainQueuePump::scheduleTimer() {
  const auto seconds = loop_->secondsUntilNextTimer();
  if (!seconds) {
    timer_->stop();
    return;
  }
  const double milliseconds = std::ceil(*seconds * 1000);
  constexpr double kLongest = std::numeric_limits<int>::max();
  timer_->start(static_cast<int>(std::clamp(milliseconds, 0.0, kLongest)));
}

}  // namespace vlq::toolkit::qt
