#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "LocalHttpServer.h"

namespace vlq::reference {
namespace {

using test::ScratchDirectory;

// Records each event it hears with the thread it heard it on.
class RecordingListener : public VLQEventListener {
 public:
  struct Heard {
    std::string tag;
    std::int64_t type;
    std::thread::id thread;
  };

  explicit RecordingListener(std::string tag) : tag_(std::move(tag)) {}

  void onEvent(std::shared_ptr<const VLQEvent> event) override {
    std::lock_guard lock(mutex_);
    heard_.push_back({tag_ + ":" + event->additionalInfo().value("id", ""), event->eventType(),
                      std::this_thread::get_id()});
  }
  std::vector<Heard> heard() const {
    std::lock_guard lock(mutex_);
    return heard_;
  }

 private:
  const std::string tag_;
  mutable std::mutex mutex_;
  std::vector<Heard> heard_;
};

class EventsAndDelaysTest : public ::testing::Test {
 protected:
  void SetUp() override { toolkit::setMainRunLoop(loop); }
  void TearDown() override {
    host->shutdown();
    toolkit::setMainRunLoop(nullptr);
  }

  std::shared_ptr<toolkit::VirtualRunLoop> loop = std::make_shared<toolkit::VirtualRunLoop>();
  ScratchDirectory library;
  std::shared_ptr<ReferenceHost> host = ReferenceHost::create({library.path(), "", "", "", ""});
};

VLQEvent trigger(std::int64_t type, const std::string& id) {
  return VLQEvent(type, Json{{"id", id}});
}

TEST_F(EventsAndDelaysTest, EventsReachTheirTypesListenersInOrderOnOneHostThread) {
  auto first = std::make_shared<RecordingListener>("first");
  auto second = std::make_shared<RecordingListener>("second");
  auto other = std::make_shared<RecordingListener>("other");
  host->registerForEventWithType(15, first);
  host->registerForEventWithType(15, second);
  host->registerForEventWithType(16, other);
  host->registerForEventWithType(15, nullptr);

  for (int i = 0; i < 20; ++i)
    host->raiseEvent(trigger(15, std::to_string(i)));
  host->raiseEvent(trigger(16, "x"));
  host->raiseEvent(trigger(99, "nobody listens"));
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_TRUE(host->idle());

  const auto heardFirst = first->heard();
  const auto heardSecond = second->heard();
  ASSERT_EQ(heardFirst.size(), 20u);
  ASSERT_EQ(heardSecond.size(), 20u);
  const auto eventThread = heardFirst.front().thread;
  EXPECT_NE(eventThread, std::this_thread::get_id());  // neither the raising nor the main thread
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(heardFirst[i].tag, "first:" + std::to_string(i));
    EXPECT_EQ(heardSecond[i].tag, "second:" + std::to_string(i));
    EXPECT_EQ(heardFirst[i].thread, eventThread);
  }
  ASSERT_EQ(other->heard().size(), 1u);
  EXPECT_EQ(other->heard().front().type, 16);
}

// A listener that, like the plug-in, waits for the main queue while it handles the event.
class MainQueueWaitingListener : public VLQEventListener {
 public:
  void onEvent(std::shared_ptr<const VLQEvent>) override {
    toolkit::mainQueue().sync([this] { ranOnMain = toolkit::isMainThread(); });
    toolkit::mainQueue().async([this] { followUpRan = true; });
  }
  bool ranOnMain = false;    // written on the main thread only
  bool followUpRan = false;  // written on the main thread only
};

TEST_F(EventsAndDelaysTest, TheVirtualLoopWaitsForAnEventThatWaitsForTheMainQueue) {
  auto listener = std::make_shared<MainQueueWaitingListener>();
  host->registerForEventWithType(15, listener);
  host->raiseEvent(trigger(15, "s-1"));
  // Idle only once the delivery, its synchronous wait and the block it posted have all run.
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_TRUE(listener->ranOnMain);
  EXPECT_TRUE(listener->followUpRan);
}

TEST_F(EventsAndDelaysTest, DelayedBlocksRunAtTheirVirtualDueTimesInOrderOffTheMainThread) {
  std::mutex mutex;
  std::vector<std::pair<std::string, double>> ran;
  std::atomic<bool> offMain{true};
  auto record = [&](std::string tag) {
    return [&, tag] {
      if (toolkit::isMainThread()) offMain.store(false);
      std::lock_guard lock(mutex);
      ran.emplace_back(tag, toolkit::currentClock()->now());
    };
  };
  host->executeAfterDelay(2.5, record("a"));
  host->executeAfterDelay(0.5, record("b"));
  host->executeAfterDelay(2.5, record("c"));
  host->executeAfterDelay(0.5, [] { throw std::runtime_error("a failing block"); });
  host->executeAfterDelay(-1, record("now"));
  double mainSawAt = -1;
  host->executeAfterDelay(
      1, [&] { toolkit::mainQueue().async([&] { mainSawAt = toolkit::currentClock()->now(); }); });

  ASSERT_TRUE(loop->advance(2.4));
  EXPECT_FALSE(host->idle());
  {
    std::lock_guard lock(mutex);
    EXPECT_EQ(ran, (std::vector<std::pair<std::string, double>>{{"now", 0}, {"b", 0.5}}));
  }
  EXPECT_EQ(mainSawAt, 1);  // a block's post to the main queue runs at the block's due time

  ASSERT_TRUE(loop->advance(0.1));
  EXPECT_TRUE(host->idle());
  std::lock_guard lock(mutex);
  EXPECT_EQ(ran, (std::vector<std::pair<std::string, double>>{
                     {"now", 0}, {"b", 0.5}, {"a", 2.5}, {"c", 2.5}}));
  EXPECT_TRUE(offMain.load());
}

// Where the clock's value is too large for a short delay to change it, a block that schedules
// itself again (as a retry does) still waits for time to pass instead of running over and over.
TEST_F(EventsAndDelaysTest, AShortDelayFarInTheFutureStillWaits) {
  ASSERT_TRUE(loop->advance(1e19));
  std::atomic<int> runs{0};
  std::function<void()> retry = [&] {
    runs.fetch_add(1);
    host->executeAfterDelay(0.5, retry);
  };
  host->executeAfterDelay(0.5, retry);
  ASSERT_TRUE(loop->advance(1));  // too little to move the clock
  EXPECT_EQ(runs.load(), 0);
  ASSERT_TRUE(loop->advance(4096));
  EXPECT_GE(runs.load(), 1);
  EXPECT_LE(runs.load(), 3);
}

TEST_F(EventsAndDelaysTest, ShutdownDropsWhatIsPendingAndIgnoresLaterWork) {
  auto listener = std::make_shared<RecordingListener>("l");
  host->registerForEventWithType(15, listener);
  std::atomic<int> blocksRun{0};
  host->executeAfterDelay(1, [&] { blocksRun.fetch_add(1); });
  host->shutdown();
  host->shutdown();
  EXPECT_TRUE(host->idle());

  host->executeAfterDelay(0, [&] { blocksRun.fetch_add(1); });
  host->raiseEvent(trigger(15, "late"));
  bool completed = false;
  host->getSyncDataForActionType("surveys", "118", [&] { completed = true; });
  ASSERT_TRUE(loop->advance(2));
  EXPECT_EQ(blocksRun.load(), 0);
  EXPECT_TRUE(listener->heard().empty());
  EXPECT_FALSE(completed);
}

TEST(DelayedBlocksOnTheSystemClock, RunAfterTheDelayAndShutdownDoesNotWaitForLongDelays) {
  ScratchDirectory library;
  auto host = ReferenceHost::create({library.path(), "", "", "", ""});
  const auto start = std::chrono::steady_clock::now();
  std::atomic<double> ranAfter{-1};
  host->executeAfterDelay(0.05, [&] {
    ranAfter.store(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  });
  host->executeAfterDelay(600, [] {});
  // Too long for the clock's ticks: waited without end, never run.
  host->executeAfterDelay(1e300, [] {});
  host->executeAfterDelay(std::numeric_limits<double>::infinity(), [] {});
  while (ranAfter.load() < 0 && std::chrono::steady_clock::now() - start < std::chrono::seconds(10))
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_GE(ranAfter.load(), 0.05);
  EXPECT_FALSE(host->idle());  // the long delay is still pending

  host->shutdown();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_TRUE(host->idle());
}

}  // namespace
}  // namespace vlq::reference
