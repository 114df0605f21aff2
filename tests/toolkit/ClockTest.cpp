#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "toolkit/Clock.h"
#include "toolkit/VirtualClock.h"

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

TEST(ClockTest, TheInstalledClockServesTheProcessUntilRemoved) {
  auto fixed = std::make_shared<VirtualClock>(1234.5);
  EXPECT_EQ(setCurrentClock(fixed), nullptr);
  EXPECT_EQ(currentClock(), fixed);
  EXPECT_EQ(timeIntervalSince1970(), 1234.5);
  fixed->advanceTo(2);
  EXPECT_EQ(timeIntervalSince1970(), 1236.5);

  EXPECT_EQ(setCurrentClock(nullptr), fixed);
  EXPECT_NE(std::dynamic_pointer_cast<SystemClock>(currentClock()), nullptr);
  EXPECT_GT(timeIntervalSince1970(), 1'600'000'000);
}

}  // namespace
}  // namespace vlq::toolkit
