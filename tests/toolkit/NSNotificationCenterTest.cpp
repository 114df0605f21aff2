#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <vlq/toolkit/NSNotificationCenter.h>

namespace vlq::toolkit {
namespace {

using Order = std::vector<std::string>;

class NSNotificationCenterTest : public ::testing::Test {
 protected:
  // Records the observer's name when it is notified.
  NSNotificationCenter::Block record(std::string name) {
    return [this, name](const NSNotification&) { order.push_back(name); };
  }

  NSNotificationCenter center;
  Order order;
  int a = 0, b = 0, c = 0;  // their addresses serve as observers and senders
};

TEST_F(NSNotificationCenterTest, DeliversInRegistrationOrderToObserversOfTheNameAndSender) {
  center.addObserver(&a, "Ping", nullptr, record("a: any sender"));
  center.addObserver(&b, "Ping", &c, record("b: only from c"));
  center.addObserver(&c, "Pong", nullptr, record("c: other name"));
  center.addObserver(&c, "", nullptr, record("c: every name"));

  center.postNotificationName("Ping", &a);
  EXPECT_EQ(order, (Order{"a: any sender", "c: every name"}));
  order.clear();
  center.postNotificationName("Ping", &c);
  EXPECT_EQ(order, (Order{"a: any sender", "b: only from c", "c: every name"}));
}

TEST_F(NSNotificationCenterTest, ObserversMayChangeTheRegistrationsWhileAPostIsDelivered) {
  center.addObserver(&a, "Ping", nullptr, [&](const NSNotification&) {
    order.push_back("a removes itself and b, adds c");
    center.removeObserver(&a);
    center.removeObserver(&b);
    center.addObserver(&c, "Ping", nullptr, record("c"));
  });
  center.addObserver(&b, "Ping", nullptr, record("b"));

  center.postNotificationName("Ping", nullptr);
  EXPECT_EQ(order, (Order{"a removes itself and b, adds c"}));
  center.postNotificationName("Ping", nullptr);
  EXPECT_EQ(order, (Order{"a removes itself and b, adds c", "c"}));
}

TEST_F(NSNotificationCenterTest, RemovalByNameAndSenderTakesOnlyTheMatchingRegistrations) {
  center.addObserver(&a, "Ping", nullptr, record("ping"));
  center.addObserver(&a, "Ping", &b, record("ping from b"));
  center.addObserver(&a, "Pong", nullptr, record("pong"));

  center.removeObserver(&a, "Ping", &b);
  center.postNotificationName("Ping", &b);
  center.postNotificationName("Pong", &b);
  EXPECT_EQ(order, (Order{"ping", "pong"}));

  order.clear();
  center.removeObserver(&a, "", nullptr);
  center.postNotificationName("Ping", &b);
  center.postNotificationName("Pong", &b);
  EXPECT_TRUE(order.empty());
}

TEST_F(NSNotificationCenterTest, AnObserverThatThrowsDoesNotKeepTheNotificationFromTheOthers) {
  center.addObserver(&a, "Ping", nullptr,
                     [](const NSNotification&) { throw std::runtime_error("observer failed"); });
  center.addObserver(&b, "Ping", nullptr, record("b"));
  EXPECT_NO_THROW(center.postNotificationName("Ping", nullptr));
  EXPECT_EQ(order, Order{"b"});
}

TEST_F(NSNotificationCenterTest, PostsAndRegistrationsFromSeveralThreadsAtOnce) {
  std::atomic<int> delivered = 0;
  center.addObserver(&a, "Ping", nullptr, [&](const NSNotification&) { ++delivered; });
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      int self = 0;
      for (int i = 0; i < 200; ++i) {
        if (t % 2 == 0) {
          center.postNotificationName("Ping", nullptr);
        } else {
          center.addObserver(&self, "Ping", nullptr, [](const NSNotification&) {});
          center.removeObserver(&self);
        }
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(delivered, 400);
}

}  // namespace
}  // namespace vlq::toolkit
