#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/RealTimeRunLoop.h>
#include <vlq/toolkit/VirtualClock.h>

namespace vlq::toolkit {
namespace {

using Order = std::vector<std::string>;

TEST(RealTimeRunLoopTest, EveryPostWakesTheEventLoopAndRunReadyTakesOneRoundAtATime) {
  // A clock the test moves by hand stands in for real time.
  auto clock = std::make_shared<VirtualClock>();
  RealTimeRunLoop loop(clock);
  std::atomic<int> wakes = 0;
  loop.setWakeHandler([&] { ++wakes; });

  Order order;
  std::thread([&] { loop.post([&] { order.push_back("from another thread"); }); }).join();
  EXPECT_EQ(wakes, 1);
  loop.post([&] {
    order.push_back("first round");
    loop.post([&] { order.push_back("second round"); });
  });
  loop.postAfter(2, [&] { order.push_back("timer"); });
  EXPECT_EQ(wakes, 3);
  EXPECT_EQ(loop.secondsUntilNextTimer(), 2);

  EXPECT_EQ(loop.runReady(), 2u);
  EXPECT_EQ(order, (Order{"from another thread", "first round"}));
  EXPECT_EQ(wakes, 4);
  EXPECT_EQ(loop.runReady(), 1u);

  clock->advanceTo(2.5);
  EXPECT_EQ(loop.secondsUntilNextTimer(), 0);
  EXPECT_EQ(loop.runReady(), 1u);
  EXPECT_EQ(order, (Order{"from another thread", "first round", "second round", "timer"}));
  EXPECT_FALSE(loop.secondsUntilNextTimer().has_value());

  std::size_t ranElsewhere = 1;
  loop.post([] {});
  std::thread([&] { ranElsewhere = loop.runReady(); }).join();
  EXPECT_EQ(ranElsewhere, 0u);
}

TEST(RealTimeRunLoopTest, RunForServesTheMainQueueAsBlocksArriveUntilStopped) {
  auto loop = std::make_shared<RealTimeRunLoop>();
  setMainRunLoop(loop);
  std::atomic<bool> running = false;
  bool ranOnMainThread = false;
  std::thread poster([&] {
    while (!running)
      std::this_thread::yield();
    mainQueue().sync([&] { ranOnMainThread = isMainThread(); });
    mainQueue().after(0.01, [&] { loop->stop(); });
  });
  mainQueue().async([&] { running = true; });
  const auto start = std::chrono::steady_clock::now();
  loop->runFor(60);
  poster.join();
  // Only the stop can end the run this early; the span is a guard against a hang.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  EXPECT_TRUE(ranOnMainThread);
  setMainRunLoop(nullptr);
}

}  // namespace
}  // namespace vlq::toolkit
