#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include <vlq/toolkit/Clock.h>

namespace vlq::toolkit {
namespace {

TEST(ClockTest, TheSystemClockIsMonotonicSleepsUntilItsDeadlineAndGivesTheWallTime) {
  SystemClock clock;
  const double start = clock.now();
  clock.sleepUntil(start + 0.01);
  EXPECT_GE(clock.now(), start + 0.01);
  clock.sleepUntil(NAN);
  clock.sleepUntil(INFINITY);  // refused, not a sleep for ever

  const double wall =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  EXPECT_NEAR(clock.timeIntervalSince1970(), wall, 60);
}

}  // namespace
}  // namespace vlq::toolkit
