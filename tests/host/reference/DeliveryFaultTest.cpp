// Faults between the reference host and the response collector, on real services: HTTP on
// 127.0.0.1, SQLite files, virtual time. Whatever fails, each posted body ends up stored exactly
// once.

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include <vlq/collector/CollectorServer.h>

#include "DeliveryFixture.h"

namespace vlq::reference::test {
namespace {

class DeliveryFaultTest : public DeliveryFixture {
 protected:
  void SetUp() override {
    std::string error;
    collector = collector::CollectorServer::start({}, &error);
    ASSERT_TRUE(collector) << error;
  }
  void TearDown() override { collector->stop(); }

  // Lets virtual time pass, ten seconds at a time, until the host's outbox is empty.
  void advanceUntilDelivered(ReferenceHost& host, double atMostSeconds) {
    for (double waited = 0; host.outboxSize() > 0 && waited < atMostSeconds; waited += 10)
      ASSERT_TRUE(loop->advance(10));
    EXPECT_EQ(host.outboxSize(), 0);
  }

  std::unique_ptr<collector::CollectorServer> collector;
};

TEST_F(DeliveryFaultTest, FailingThreeTimesThenAcceptingStoresTheBodyOnce) {
  collector->failNextPosts(3);
  auto host = startHost(collector->baseUrl());
  post(*host, "s-1");
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_EQ(answersFor("s-1").size(), 1u);
  EXPECT_EQ(answersFor("s-1")[0].status, 500);  // the plug-in hears the first attempt only
  ASSERT_TRUE(loop->advance(7));                // retries within 1, 2 and 4 s of each failure

  EXPECT_EQ(host->outboxSize(), 0);
  EXPECT_EQ(collector->responses().size(), 1u);
  std::vector<DeliveryStage> path;
  for (const auto& stage : stagesOf(keys()[0]))
    path.push_back(stage.stage);
  using enum DeliveryStage;
  EXPECT_EQ(path, (std::vector<DeliveryStage>{queued, sent, retryScheduled, sent, retryScheduled,
                                              sent, retryScheduled, sent, delivered}));
}

TEST_F(DeliveryFaultTest, AnAnswerThatNeverArrivesAfterTheBodyWasStoredDoesNotStoreItTwice) {
  // The collector stores the first body, then stalls past the host's timeout before answering.
  std::atomic<bool> stalled{false};
  collector->setResponseObserver([&](const collector::StoredResponse&) {
    if (!stalled.exchange(true)) std::this_thread::sleep_for(std::chrono::milliseconds(600));
  });
  ReferenceHostOptions options;
  options.postTimeouts.transferSeconds = 0.2;
  auto host = startHost(collector->baseUrl(), options);
  post(*host, "s-1");
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_TRUE(answersFor("s-1").at(0).error);
  advanceUntilDelivered(*host, 120);

  const auto stored = collector->responses();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].idempotencyKey, keys()[0]);
  EXPECT_EQ(stored[0].body, Json({{"survey_id", "s-1"}}));
}

TEST_F(DeliveryFaultTest, ABodyQueuedWhenTheHostGoesIsDeliveredByTheNextHost) {
  collector->suspend();
  auto first = startHost(collector->baseUrl());
  post(*first, "s-1");
  ASSERT_TRUE(loop->runUntilIdle());
  destroyHost(first);
  collector->resume();
  auto second = startHost(collector->baseUrl());
  ASSERT_TRUE(loop->runUntilIdle());  // due at once, without waiting out the first host's backoff

  EXPECT_EQ(second->outboxSize(), 0);
  const auto stored = collector->responses();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].idempotencyKey, keys()[0]);
  EXPECT_EQ(answersFor("s-1").size(), 1u);
}

TEST_F(DeliveryFaultTest, AThousandSurveysSubmittedDuringAnOutageAreEachStoredOnce) {
  constexpr int kSurveys = 1000;
  // A pass over a thousand bodies is one long piece of host work; under a sanitizer on a busy
  // machine it may take longer than the loop's usual bound on a wait.
  loop->setSettleTimeout(120);
  collector->suspend();
  auto host = startHost(collector->baseUrl());
  for (int n = 0; n < kSurveys; ++n)
    post(*host, "s-" + std::to_string(n), {{"n", n}});
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(host->outboxSize(), kSurveys);
  ASSERT_TRUE(loop->advance(120));  // two minutes without the service
  collector->resume();
  advanceUntilDelivered(*host, 900);

  const auto stored = collector->responses();
  ASSERT_EQ(stored.size(), static_cast<std::size_t>(kSurveys));
  std::set<int> numbers;
  std::set<std::string> keys;
  for (const auto& response : stored) {
    numbers.insert(response.body.value("n", -1));
    keys.insert(response.idempotencyKey);
  }
  EXPECT_EQ(numbers.size(), static_cast<std::size_t>(kSurveys));
  EXPECT_EQ(*numbers.begin(), 0);
  EXPECT_EQ(keys.size(), static_cast<std::size_t>(kSurveys));
  for (int n = 0; n < kSurveys; ++n) {
    const auto answers = answersFor("s-" + std::to_string(n));
    ASSERT_EQ(answers.size(), 1u) << n;  // once, with the first attempt's failure
    ASSERT_TRUE(answers[0].error) << n;
  }
}

}  // namespace
}  // namespace vlq::reference::test
