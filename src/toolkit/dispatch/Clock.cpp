#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>
#include <thread>
#include <utility>

#include <vlq/toolkit/Clock.h>

namespace vlq::toolkit {
namespace {

std::chrono::steady_clock::time_point processStart() {
  static const auto start = std::chrono::steady_clock::now();
  return start;
}

struct ClockSlot {
  std::mutex mutex;
  std::shared_ptr<Clock> installed;
  const std::shared_ptr<Clock> system = std::make_shared<SystemClock>();
};

ClockSlot& slot() {
  static ClockSlot clockSlot;
  return clockSlot;
}

}  // namespace

double SystemClock::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - processStart()).count();
}

double SystemClock::timeIntervalSince1970() const {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void SystemClock::sleepUntil(double deadline) {
  // NaN and infinite deadlines are refused rather than sleeping forever.
  if (!std::isfinite(deadline)) return;
  for (double remaining = deadline - now(); remaining > 0; remaining = deadline - now()) {
    // In steps of at most an hour: a far deadline cannot be converted to the clock's ticks.
    std::this_thread::sleep_for(std::chrono::duration<double>(std::min(remaining, 3600.0)));
  }
}

std::shared_ptr<Clock> currentClock() {
  auto& s = slot();
  std::lock_guard lock(s.mutex);
  return s.installed ? s.installed : s.system;
}

std::shared_ptr<Clock> setCurrentClock(std::shared_ptr<Clock> clock) {
  auto& s = slot();
  std::lock_guard lock(s.mutex);
  return std::exchange(s.installed, std::move(clock));
}

double timeIntervalSince1970() {
  return currentClock()->timeIntervalSince1970();
}

}  // namespace vlq::toolkit
