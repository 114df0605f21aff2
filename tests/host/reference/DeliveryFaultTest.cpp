// Faults between the reference host and the response collector, on real services: HTTP on
// 127.0.0.1, SQLite files, virtual time. Whatever fails, each posted body ends up stored exactly
// once.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <thread>

#include "DeliveryFixture.h"
#include "collector/CollectorServer.h"

namespace vlq::reference::test {
namespace {

// A relay on 127.0.0.1 in front of a server. It passes each request on whole; for the first
// `drops` requests it reads the server's answer and then closes the client's connection without
// passing the answer on: the service did the work, but the client never hears of it.
class AnswerDroppingRelay {
 public:
  AnswerDroppingRelay(int upstreamPort, int drops) : upstreamPort_(upstreamPort), drops_(drops) {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::listen(listener_, 16);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
  }
  ~AnswerDroppingRelay() {
    stopping_ = true;
    thread_.join();
    ::close(listener_);
  }
  std::string address() const { return "http://127.0.0.1:" + std::to_string(port_); }

 private:
  static sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
  }

  // Everything the peer sends until it closes (the client asks for "Connection: close", so the
  // server closes after its answer) or, for a request, until its Content-Length is complete.
  static std::string readMessage(int socket, bool request) {
    std::string bytes;
    char buffer[4096];
    for (;;) {
      const auto headerEnd = bytes.find("\r\n\r\n");
      if (request && headerEnd != std::string::npos) {
        const auto at = bytes.find("Content-Length: ");
        const std::size_t length = at == std::string::npos ? 0 : std::stoul(bytes.substr(at + 16));
        if (bytes.size() >= headerEnd + 4 + length) return bytes;
      }
      const auto got = ::recv(socket, buffer, sizeof buffer, 0);
      if (got <= 0) return bytes;
      bytes.append(buffer, static_cast<std::size_t>(got));
    }
  }

  void serve() {
    while (!stopping_) {
      pollfd waiting{listener_, POLLIN, 0};
      if (::poll(&waiting, 1, 20) <= 0) continue;
      const int client = ::accept(listener_, nullptr, nullptr);
      const std::string request = readMessage(client, true);
      const int upstream = ::socket(AF_INET, SOCK_STREAM, 0);
      sockaddr_in address = loopback(upstreamPort_);
      std::string answer;
      if (::connect(upstream, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
          ::send(upstream, request.data(), request.size(), MSG_NOSIGNAL) ==
              static_cast<ssize_t>(request.size())) {
        answer = readMessage(upstream, false);
      }
      ::close(upstream);
      if (drops_ > 0) {
        --drops_;
      } else {
        ::send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
      }
      ::close(client);
    }
  }

  const int upstreamPort_;
  int drops_;  // the relay's thread only
  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

class DeliveryFaultTest : public DeliveryFixture {
 protected:
  void SetUp() override {
    std::string error;
    collector = collector::CollectorServer::start({}, &error);
    ASSERT_TRUE(collector) << error;
  }
  void TearDown() override { collector->stop(); }

  // Lets virtual time pass, a step at a time, until the host's outbox is empty.
  void advanceUntilDelivered(ReferenceHost& host, double atMostSeconds) {
    for (double waited = 0; host.outboxSize() > 0 && waited < atMostSeconds; waited += 10)
      ASSERT_TRUE(loop->advance(10));
    EXPECT_EQ(host.outboxSize(), 0);
  }

  std::unique_ptr<collector::CollectorServer> collector;
};

TEST_F(DeliveryFaultTest, AServiceDownAtSubmissionGetsTheBodyOnceWhenItComesBack) {
  collector->suspend();
  auto host = startHost(collector->baseUrl());
  post(*host, "s-1", {{"answers", {1, 2}}});
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_EQ(answersFor("s-1").size(), 1u);
  EXPECT_TRUE(answersFor("s-1")[0].error);  // the first attempt found nobody

  ASSERT_TRUE(loop->advance(120));  // two minutes without the service
  EXPECT_EQ(host->outboxSize(), 1);
  collector->resume();
  advanceUntilDelivered(*host, 600);

  const auto stored = collector->responses();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].body, Json({{"survey_id", "s-1"}, {"answers", {1, 2}}}));
  ASSERT_EQ(keys().size(), 1u);
  EXPECT_EQ(stored[0].idempotencyKey, keys()[0]);
  EXPECT_EQ(answersFor("s-1").size(), 1u);

  // Backoff: each wait within its doubling ceiling, capped at five minutes.
  int retries = 0;
  for (const auto& stage : stagesOf(keys()[0])) {
    if (stage.stage != DeliveryStage::retryScheduled) continue;
    ++retries;
    EXPECT_LE(stage.delay, std::min(300.0, std::ldexp(1.0, retries - 1))) << retries;
  }
  EXPECT_GE(retries, 4);
  EXPECT_EQ(stagesOf(keys()[0]).back().stage, DeliveryStage::delivered);
}

TEST_F(DeliveryFaultTest, FailingThreeTimesThenAcceptingStoresTheBodyOnce) {
  collector->failNextPosts(3);
  auto host = startHost(collector->baseUrl());
  post(*host, "s-1");
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_EQ(answersFor("s-1").size(), 1u);
  EXPECT_EQ(answersFor("s-1")[0].status, 500);
  ASSERT_TRUE(loop->advance(7));  // retries within 1, 2 and 4 seconds of each failure

  EXPECT_EQ(host->outboxSize(), 0);
  EXPECT_EQ(collector->responses().size(), 1u);
  std::vector<DeliveryStage> path;
  for (const auto& stage : stagesOf(keys()[0]))
    path.push_back(stage.stage);
  using enum DeliveryStage;
  EXPECT_EQ(path, (std::vector<DeliveryStage>{queued, sent, retryScheduled, sent, retryScheduled,
                                              sent, retryScheduled, sent, delivered}));
}

TEST_F(DeliveryFaultTest, AnAnswerLostAfterTheBodyWasStoredDoesNotStoreItTwice) {
  AnswerDroppingRelay relay(collector->port(), 2);
  auto host = startHost(relay.address());
  post(*host, "s-1");
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_TRUE(answersFor("s-1").at(0).error);
  EXPECT_EQ(collector->responses().size(), 1u);  // stored, but the host never heard

  advanceUntilDelivered(*host, 60);
  EXPECT_EQ(collector->responses().size(), 1u);
  const auto attempts = stagesOf(keys()[0]);
  EXPECT_EQ(std::count_if(attempts.begin(), attempts.end(),
                          [](const auto& stage) { return stage.stage == DeliveryStage::sent; }),
            3);
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
  EXPECT_EQ(stored[0].body, Json({{"survey_id", "s-1"}}));
  EXPECT_EQ(stored[0].idempotencyKey, keys()[0]);
  EXPECT_EQ(answersFor("s-1").size(), 1u);
}

TEST_F(DeliveryFaultTest, AThousandSurveysSubmittedDuringAnOutageAreEachStoredOnce) {
  constexpr int kSurveys = 1000;
  collector->suspend();
  auto host = startHost(collector->baseUrl());
  for (int n = 0; n < kSurveys; ++n)
    post(*host, "s-" + std::to_string(n), {{"n", n}});
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(host->outboxSize(), kSurveys);
  ASSERT_TRUE(loop->advance(30));
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
  EXPECT_EQ(*numbers.rbegin(), kSurveys - 1);
  EXPECT_EQ(keys.size(), static_cast<std::size_t>(kSurveys));
  EXPECT_EQ(answeredPosts(), static_cast<std::size_t>(kSurveys));
  for (int n = 0; n < kSurveys; ++n)
    ASSERT_EQ(answersFor("s-" + std::to_string(n)).size(), 1u) << n;
}

}  // namespace
}  // namespace vlq::reference::test
