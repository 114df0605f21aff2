#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/VirtualRunLoop.h>

namespace vlq::toolkit {
namespace {

using Order = std::vector<std::string>;

class VirtualTimeTest : public ::testing::Test {
 protected:
  void SetUp() override { setMainRunLoop(loop); }
  void TearDown() override { setMainRunLoop(nullptr); }

  std::shared_ptr<VirtualRunLoop> loop = std::make_shared<VirtualRunLoop>();
};

TEST_F(VirtualTimeTest, AdvanceRunsEachTimerAtItsDueTimeAndEndsAtTheTarget) {
  std::vector<double> firedAt;
  double wallTimeSeen = 0;
  auto recordNow = [&] { firedAt.push_back(currentClock()->now()); };
  mainQueue().after(0.5, [&] {
    recordNow();
    wallTimeSeen = timeIntervalSince1970();
    mainQueue().after(0.25, recordNow);
  });
  mainQueue().after(1.25, recordNow);
  mainQueue().after(3, recordNow);

  EXPECT_TRUE(loop->advance(2));
  EXPECT_EQ(firedAt, (std::vector<double>{0.5, 0.75, 1.25}));
  EXPECT_EQ(loop->now(), 2);
  EXPECT_EQ(wallTimeSeen, VirtualClock::kDefaultEpoch + 0.5);

  // A timer due exactly at the target runs within that advance.
  EXPECT_TRUE(loop->advance(1));
  EXPECT_EQ(firedAt.back(), 3);
  EXPECT_EQ(loop->now(), 3);
  EXPECT_FALSE(loop->nextTimerDue().has_value());
}

TEST_F(VirtualTimeTest, BadDurationsMoveNoTime) {
  int runs = 0;
  mainQueue().async([&] { ++runs; });
  mainQueue().after(1, [&] { ++runs; });
  EXPECT_TRUE(loop->advance(-1));
  EXPECT_TRUE(loop->advance(std::nan("")));
  EXPECT_TRUE(loop->advance(INFINITY));
  EXPECT_EQ(loop->now(), 0);
  EXPECT_EQ(runs, 1);
}

TEST_F(VirtualTimeTest, AHostThreadSleepingOnVirtualTimePostsAtItsDeadlineOnEveryRun) {
  for (int run = 0; run < 50; ++run) {
    auto runLoop = std::make_shared<VirtualRunLoop>();
    setMainRunLoop(runLoop);
    std::vector<double> seenAt;
    std::thread host([token = mainQueue().beginWork(), &seenAt]() mutable {
      token.holdOnThisThread();
      currentClock()->sleepUntil(2.5);
      mainQueue().async([&seenAt] { seenAt.push_back(currentClock()->now()); });
    });
    EXPECT_TRUE(runLoop->advance(3));
    EXPECT_EQ(seenAt, std::vector<double>{2.5});
    EXPECT_EQ(runLoop->now(), 3);
    host.join();
  }
}

TEST_F(VirtualTimeTest, ASleepOnADeadlineAlreadyReachedEndsAfterTheWorkInFlightSettles) {
  Order order;
  auto post = [&order](std::string name) {
    mainQueue().async([&order, name] { order.push_back(name); });
  };
  std::thread sleeper;
  // The scheduler starts a thread due now, then goes on working for a while before it posts.
  std::thread scheduler(mainQueue().tracked([&] {
    sleeper = std::thread(mainQueue().tracked([&] {
      currentClock()->sleepUntil(0);
      post("due now");
    }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    post("scheduler");
  }));
  EXPECT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(order, (Order{"scheduler", "due now"}));
  EXPECT_EQ(loop->now(), 0);
  scheduler.join();
  sleeper.join();
}

TEST_F(VirtualTimeTest, TimersAndThreadsDueTogetherInterleaveTheSameWayOnEveryRun) {
  for (int run = 0; run < 20; ++run) {
    auto runLoop = std::make_shared<VirtualRunLoop>();
    setMainRunLoop(runLoop);
    Order order;
    auto post = [&order](std::string name) {
      mainQueue().async([&order, name] { order.push_back(name); });
    };
    // A scheduler thread that keeps the token across its sleeps, and a second thread due at the
    // same time as the first one's first deadline.
    std::thread scheduler(mainQueue().tracked([&] {
      currentClock()->sleepUntil(1);
      post("scheduler at 1");
      currentClock()->sleepUntil(2);
      post("scheduler at 2");
    }));
    std::thread other(mainQueue().tracked([&] {
      // Goes to sleep after the scheduler, so it wakes after it.
      while (runLoop->virtualClock()->earliestSleeperDeadline() != 1)
        std::this_thread::yield();
      currentClock()->sleepUntil(1);
      post("other at 1");
    }));
    mainQueue().after(1, [&] { order.push_back("timer at 1"); });
    mainQueue().after(2, [&] { order.push_back("timer at 2"); });

    EXPECT_TRUE(runLoop->advance(5));
    EXPECT_EQ(order, (Order{"timer at 1", "scheduler at 1", "other at 1", "timer at 2",
                            "scheduler at 2"}));
    scheduler.join();
    other.join();
  }
}

TEST_F(VirtualTimeTest, AThreadWokenWithoutATokenCountsAsBusyUntilItEnds) {
  std::atomic<bool> asleep = false;
  std::atomic<int> posted = 0;
  std::thread worker([&] {
    asleep = true;
    currentClock()->sleepUntil(1);
    // Nothing marks this thread's work; only being woken and then ending does.
    for (int i = 0; i < 100; ++i)
      mainQueue().async([&] { ++posted; });
  });
  while (loop->virtualClock()->earliestSleeperDeadline() != 1)
    std::this_thread::yield();
  EXPECT_TRUE(loop->advance(1));
  EXPECT_EQ(posted, 100);
  worker.join();
  EXPECT_EQ(loop->tracker()->busyCount(), 0u);
}

TEST_F(VirtualTimeTest, RunUntilWaitsForAnotherThreadsPostWithoutMovingTime) {
  std::atomic<bool> go = false;
  bool done = false;
  std::thread worker([&] {
    while (!go)
      std::this_thread::yield();
    mainQueue().async([&] { done = true; });
  });
  go = true;
  EXPECT_TRUE(loop->runUntil([&] { return done; }));
  worker.join();
  EXPECT_EQ(loop->now(), 0);
}

TEST_F(VirtualTimeTest, AStuckThreadFailsThePumpInsteadOfHangingIt) {
  loop->setSettleTimeout(0.05);
  auto stuck = mainQueue().beginWork();  // work that never finishes
  int runs = 0;
  mainQueue().after(1, [&] { ++runs; });
  EXPECT_FALSE(loop->advance(2));
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(loop->now(), 2);
  stuck.release();
  EXPECT_TRUE(loop->runUntilIdle());
}

TEST_F(VirtualTimeTest, DestroyingTheLoopReleasesThreadsAsleepOnItsClock) {
  auto clock = loop->virtualClock();
  std::thread sleeper([clock] { clock->sleepUntil(100); });
  while (!clock->earliestSleeperDeadline())
    std::this_thread::yield();
  setMainRunLoop(nullptr);
  loop.reset();
  sleeper.join();
  EXPECT_EQ(clock->now(), 0);
}

}  // namespace
}  // namespace vlq::toolkit
