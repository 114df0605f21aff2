#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <vlq/toolkit/Clock.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/VirtualRunLoop.h>

namespace vlq::toolkit {
namespace {

using Order = std::vector<std::string>;

class MainQueueTest : public ::testing::Test {
 protected:
  void SetUp() override { setMainRunLoop(loop); }
  void TearDown() override { setMainRunLoop(nullptr); }

  std::shared_ptr<VirtualRunLoop> loop = std::make_shared<VirtualRunLoop>();
};

TEST_F(MainQueueTest, BlocksRunInQueueOrderAndTimersInDueOrderWithTiesInSchedulingOrder) {
  Order order;
  auto record = [&](std::string name) { return [&order, name] { order.push_back(name); }; };
  mainQueue().after(2, record("timer 2a"));
  mainQueue().after(1, record("timer 1"));
  mainQueue().after(2, record("timer 2b"));
  mainQueue().async([&] {
    order.push_back("a");
    mainQueue().async(record("posted by a"));
    mainQueue().after(0, record("zero timer from a"));
  });
  mainQueue().async(record("b"));

  EXPECT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(order, (Order{"a", "b", "posted by a", "zero timer from a"}));
  EXPECT_TRUE(loop->advance(5));
  EXPECT_EQ(order, (Order{"a", "b", "posted by a", "zero timer from a", "timer 1", "timer 2a",
                          "timer 2b"}));
}

TEST_F(MainQueueTest, ABlockThatThrowsIsDroppedAndTheQueueGoesOn) {
  Order order;
  mainQueue().async([] { throw std::runtime_error("bad block"); });
  mainQueue().after(1, [] { throw 42; });
  mainQueue().async([&] { order.push_back("after the throw"); });
  mainQueue().after(1, [&] { order.push_back("timer after the throw"); });
  EXPECT_NO_THROW(mainQueue().sync([] { throw std::logic_error("inline"); }));

  EXPECT_TRUE(loop->advance(1));
  EXPECT_EQ(order, (Order{"after the throw", "timer after the throw"}));
}

TEST_F(MainQueueTest, SyncOnTheMainThreadRunsInlineAndFromAnotherThreadWaitsForTheMainThread) {
  Order order;
  mainQueue().async([&] {
    order.push_back("outer begins");
    mainQueue().sync([&] { order.push_back("inline"); });
    order.push_back("outer ends");
  });
  loop->runUntilIdle();
  EXPECT_EQ(order, (Order{"outer begins", "inline", "outer ends"}));

  // A host's event thread fetching a value from the main thread, as the trigger path does.
  std::atomic<bool> ranOnMainThread = false;
  int fetched = 0;
  std::thread eventThread(mainQueue().tracked([&] {
    int value = 0;
    mainQueue().sync([&] {
      ranOnMainThread = isMainThread();
      value = 7;
    });
    fetched = value;
  }));
  EXPECT_TRUE(loop->runUntilIdle());
  eventThread.join();
  EXPECT_TRUE(ranOnMainThread);
  EXPECT_EQ(fetched, 7);
}

// A loop that only collects what is posted, so that a test can drop it unrun.
class CollectingLoop : public RunLoop {
 public:
  void post(Task task) override {
    std::lock_guard lock(mutex);
    tasks.push_back(std::move(task));
    posted.notify_all();
  }
  void postAfter(double, Task task) override { post(std::move(task)); }
  bool isLoopThread() const override { return false; }
  void bindToCurrentThread() override {}
  std::shared_ptr<Clock> clock() const override { return std::make_shared<SystemClock>(); }

  std::mutex mutex;
  std::condition_variable posted;
  std::vector<Task> tasks;
};

TEST_F(MainQueueTest, SyncReturnsWhenItsBlockIsDroppedUnrun) {
  auto collecting = std::make_shared<CollectingLoop>();
  setMainRunLoop(collecting);
  bool ran = false;
  std::thread caller([&] { mainQueue().sync([&] { ran = true; }); });
  {
    std::unique_lock lock(collecting->mutex);
    ASSERT_TRUE(collecting->posted.wait_for(lock, std::chrono::seconds(10),
                                            [&] { return !collecting->tasks.empty(); }));
    collecting->tasks.clear();
  }
  caller.join();
  EXPECT_FALSE(ran);
}

TEST_F(MainQueueTest, BlocksQueuedBeforeALoopIsInstalledRunOnceOneIs) {
  setMainRunLoop(nullptr);
  EXPECT_FALSE(isMainThread());
  Order order;
  mainQueue().async([&] { order.push_back("first"); });
  mainQueue().after(1, [&] { order.push_back("timer"); });
  mainQueue().async([&] { order.push_back("second"); });

  auto later = std::make_shared<VirtualRunLoop>();
  setMainRunLoop(later);
  EXPECT_TRUE(isMainThread());
  EXPECT_EQ(currentClock(), later->clock());
  later->runUntilIdle();
  EXPECT_EQ(order, (Order{"first", "second"}));
  later->advance(1);
  EXPECT_EQ(order, (Order{"first", "second", "timer"}));

  setMainRunLoop(nullptr);
  EXPECT_NE(std::dynamic_pointer_cast<SystemClock>(currentClock()), nullptr);
}

TEST_F(MainQueueTest, PostsFromSeveralThreadsAtOnceAllRunOnTheMainThreadEachThreadInItsOrder) {
  constexpr int kThreads = 4;
  constexpr int kPosts = 500;
  std::vector<std::vector<int>> seen(kThreads);
  std::atomic<int> offMainThread = 0;
  std::vector<std::thread> posters;
  for (int t = 0; t < kThreads; ++t) {
    posters.emplace_back(mainQueue().tracked([&, t] {
      for (int i = 0; i < kPosts; ++i) {
        mainQueue().async([&, t, i] {
          if (!isMainThread()) ++offMainThread;
          seen[t].push_back(i);
        });
      }
    }));
  }
  EXPECT_TRUE(loop->runUntilIdle());
  for (auto& poster : posters)
    poster.join();

  EXPECT_EQ(offMainThread, 0);
  for (const auto& sequence : seen) {
    ASSERT_EQ(sequence.size(), static_cast<std::size_t>(kPosts));
    for (int i = 0; i < kPosts; ++i)
      EXPECT_EQ(sequence[i], i);
  }
}

TEST_F(MainQueueTest, PumpingOffTheMainThreadOrFromInsideABlockDoesNothing) {
  int runs = 0;
  mainQueue().async([&] {
    ++runs;
    EXPECT_FALSE(loop->runUntilIdle());
    EXPECT_FALSE(loop->advance(1));
  });
  mainQueue().async([&] { ++runs; });
  bool pumpedElsewhere = true;
  std::thread([&] { pumpedElsewhere = loop->runUntilIdle(); }).join();
  EXPECT_FALSE(pumpedElsewhere);
  EXPECT_EQ(runs, 0);

  EXPECT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(runs, 2);
  EXPECT_EQ(loop->now(), 0);
}

}  // namespace
}  // namespace vlq::toolkit
