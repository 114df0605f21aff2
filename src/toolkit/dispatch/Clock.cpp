#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

#include <vlq/toolkit/Clock.h>

#include "toolkit/platform/ServiceSlot.h"

namespace vlq::toolkit {
namespace {

std::chrono::steady_clock::time_point processStart() {
  static const auto start = std::chrono::steady_clock::now();
  return start;
}

// The installed clock, or the system clock.
ServiceSlot<Clock>& clocks() {
  static ServiceSlot<Clock> slot(std::make_shared<SystemClock>());
  return slot;
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
  return clocks().get();
}

std::shared_ptr<Clock> setCurrentClock(std::shared_ptr<Clock> clock) {
  return clocks().install(std::move(clock));
}

double timeIntervalSince1970() {
  return currentClock()->timeIntervalSince1970();
}

}  // namespace vlq::toolkit
