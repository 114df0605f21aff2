// The collector against clients that do not behave, on real sockets: slow heads and bodies,
// oversized heads and bodies however they are framed, framing that two readers could take
// differently, pipelined requests, more connections than it takes.

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <vlq/collector/CollectorServer.h>

#include "RawHttp.h"

namespace vlq::collector {
namespace {

using namespace std::chrono_literals;

std::unique_ptr<CollectorServer> start(CollectorOptions options = {}) {
  std::string error;
  auto server = CollectorServer::start(std::move(options), &error);
  EXPECT_TRUE(server) << error;
  return server;
}

std::string postHead(const std::string& extraFields) {
  return "POST /v2/api/survey-response?appId=a HTTP/1.1\r\nHost: x\r\n"
         "Content-Type: application/json\r\n" +
         extraFields + "\r\n";
}

std::string post(const std::string& body) {
  return postHead("Content-Length: " + std::to_string(body.size()) + "\r\n") + body;
}

// A valid JSON object of exactly `bytes` bytes.
std::string objectOf(std::size_t bytes) {
  return R"({"p":")" + std::string(bytes - 8, 'x') + R"("})";
}

TEST(CollectorLimits, SlowHeadsAndBodiesAreCutAtTheirDeadlinesWhileOthersAreServed) {
  CollectorOptions options;
  options.limits.headerTimeout = 1s;
  options.limits.bodyTimeout = 1s;
  auto server = start(options);
  ASSERT_TRUE(server);

  RawConnection silent(server->port());
  RawConnection trickling(server->port());
  RawConnection slowBody(server->port());
  ASSERT_TRUE(trickling.send("POST /v2/api/survey-response?appId=a HTTP/1.1\r\n"));
  ASSERT_TRUE(slowBody.send(postHead("Content-Length: 100\r\n") + "{\"a\":"));

  // Meanwhile another client is answered at once.
  RawConnection prompt(server->port());
  ASSERT_TRUE(prompt.send(post(R"({"n":1})")));
  const auto answered = prompt.readAnswer(900ms);
  ASSERT_TRUE(answered);
  EXPECT_EQ(answered->status, 200);

  // A head that keeps trickling is cut all the same: the deadline is for the whole head.
  std::optional<RawAnswer> cut;
  for (int line = 0; line < 100 && !cut; ++line) {
    trickling.send("X-Slow-" + std::to_string(line) + ": y\r\n");
    cut = trickling.readAnswer(50ms);
  }
  ASSERT_TRUE(cut);
  EXPECT_EQ(cut->status, 408);
  EXPECT_TRUE(trickling.closesWithin(3s));
  const auto bodyCut = slowBody.readAnswer(3s);
  ASSERT_TRUE(bodyCut);
  EXPECT_EQ(bodyCut->status, 408);
  // A connection that sent nothing is closed without an answer.
  EXPECT_FALSE(silent.readAnswer(3s));
  EXPECT_TRUE(silent.closesWithin(1s));
  EXPECT_EQ(server->responses().size(), 1u);
}

TEST(CollectorLimits, HeadsAndBodiesPastTheirLimitsAreRefusedUnread) {
  CollectorOptions options;
  options.limits.maxBodyBytes = 1000;
  auto server = start(options);
  ASSERT_TRUE(server);
  struct Case {
    const char* what;
    std::string bytes;
    int status;
  };
  std::string manyFields;
  for (int n = 0; n < 101; ++n)
    manyFields += "X-" + std::to_string(n) + ": y\r\n";
  const std::string chunk = "258\r\n" + std::string(600, ' ') + "\r\n";
  const std::vector<Case> cases{
      {"a head past its size", postHead("X-Pad: " + std::string(20000, 'p') + "\r\n"), 431},
      {"too many fields", postHead(manyFields), 431},
      {"a declared length past the limit, before any of the body",
       postHead("Content-Length: 200000000\r\n"), 413},
      {"chunks past the limit", postHead("Transfer-Encoding: chunked\r\n") + chunk + chunk, 413},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.what);
    RawConnection connection(server->port());
    connection.send(test.bytes);
    const auto answer = connection.readAnswer();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, test.status);
    EXPECT_EQ(answer->field("Connection"), "close");
    EXPECT_TRUE(connection.closesWithin(3s));
  }
  // Right at the limit, however it is framed, a body is taken.
  RawConnection atLimit(server->port());
  const std::string body = objectOf(1000);
  atLimit.send(post(body));
  atLimit.send(postHead("Transfer-Encoding: chunked\r\n") + "3e8\r\n" + body + "\r\n0\r\n\r\n");
  EXPECT_EQ(atLimit.readAnswer()->status, 200);
  EXPECT_EQ(atLimit.readAnswer()->status, 200);
  EXPECT_EQ(server->responses().size(), 2u);
}

TEST(CollectorLimits, AmbiguousFramingIsRefusedAndTheConnectionClosed) {
  auto server = start();
  ASSERT_TRUE(server);
  // Each would let a second request hide in the first one's body for one of two readers.
  const std::string hidden = "GET /v2/api/surveys HTTP/1.1\r\nHost: x\r\n\r\n";
  const std::vector<std::string> heads{
      "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n",
      "Transfer-Encoding: chunked\r\nContent-Length: 5\r\n",
      "Content-Length: 5\r\nContent-Length: 40\r\n",
      "Transfer-Encoding: gzip\r\n",
      "Transfer-Encoding: gzip, chunked\r\n",
      "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n",
  };
  for (const std::string& fields : heads) {
    SCOPED_TRACE(fields);
    RawConnection connection(server->port());
    connection.send(postHead(fields) + "0\r\n\r\n" + hidden);
    const auto answer = connection.readAnswer();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 400);
    EXPECT_FALSE(connection.readAnswer(500ms));  // the hidden request is not answered
  }
  EXPECT_TRUE(server->responses().empty());
}

TEST(CollectorLimits, PipelinedRequestsAreAllAnsweredInOrder) {
  auto server = start();
  ASSERT_TRUE(server);
  RawConnection connection(server->port());
  connection.send(post(R"({"n":1})") + post("[not an object]") + post(R"({"n":2})") +
                  "GET /v2/api/survey-responses?appId=a HTTP/1.1\r\nHost: x\r\n\r\n");
  const std::vector<std::pair<int, std::string>> expected{
      {200, R"({"id":1})"}, {400, ""}, {200, R"({"id":2})"}, {200, R"([{"n":1},{"n":2}])"}};
  for (const auto& [status, body] : expected) {
    const auto answer = connection.readAnswer();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, status);
    if (!body.empty()) {
      EXPECT_EQ(answer->body, body);
    }
  }

  // A client that waits for "100 Continue" gets it, then the answer; a refused one gets only the
  // refusal, before it sends its body.
  RawConnection waiting(server->port());
  waiting.send(postHead("Content-Length: 7\r\nExpect: 100-continue\r\n"));
  EXPECT_EQ(waiting.readAnswer()->status, 100);
  waiting.send(R"({"n":3})");
  EXPECT_EQ(waiting.readAnswer()->status, 200);
  waiting.send(
      "POST /v2/api/survey-response HTTP/1.1\r\nContent-Type: text/plain\r\n"
      "Content-Length: 7\r\nExpect: 100-continue\r\n\r\n");
  EXPECT_EQ(waiting.readAnswer()->status, 415);
  EXPECT_EQ(server->responses().size(), 3u);
}

TEST(CollectorLimits, ANewConnectionPastALimitTakesThePlaceOfOneThatWaitsLongest) {
  for (const bool perAddress : {true, false}) {
    SCOPED_TRACE(perAddress ? "per address" : "in all");
    CollectorOptions options;
    (perAddress ? options.limits.maxConnectionsPerAddress : options.limits.maxConnections) = 2;
    auto server = start(options);
    ASSERT_TRUE(server);

    auto oldest = std::make_unique<RawConnection>(server->port());
    std::this_thread::sleep_for(50ms);
    RawConnection younger(server->port());
    std::this_thread::sleep_for(50ms);
    RawConnection newcomer(server->port());
    newcomer.send(post(R"({"n":1})"));
    EXPECT_EQ(newcomer.readAnswer()->status, 200);
    EXPECT_TRUE(oldest->closesWithin(3s));
    EXPECT_FALSE(younger.closesWithin(100ms));

    // Connections busy with a body are not taken: past the limit, the newcomer is turned away.
    server = start(options);
    ASSERT_TRUE(server);
    RawConnection busy(server->port());
    RawConnection alsoBusy(server->port());
    for (RawConnection* connection : {&busy, &alsoBusy}) {
      connection->send(postHead("Content-Length: 20\r\nExpect: 100-continue\r\n"));
      EXPECT_EQ(connection->readAnswer()->status, 100);  // its head is in: it waits for its body
    }
    RawConnection turnedAway(server->port());
    EXPECT_TRUE(turnedAway.closesWithin(3s));
    EXPECT_FALSE(busy.closesWithin(100ms));
  }
}

TEST(CollectorLimits, LargeBodiesShareABudgetAndWaitForNoOne) {
  CollectorOptions options;
  options.limits.maxBufferedBodyBytes = 8 * 1024;
  auto server = start(options);
  ASSERT_TRUE(server);
  // Each takes what it holds past the first 64 KiB: 4,464 bytes, so one fits and two do not.
  const std::string body = objectOf(70000);
  RawConnection first(server->port());
  first.send(postHead("Content-Length: 70000\r\nExpect: 100-continue\r\n"));
  EXPECT_EQ(first.readAnswer()->status, 100);  // its share of the budget is taken
  first.send(body.substr(0, 1000));
  RawConnection second(server->port());
  second.send(post(body));
  const auto busy = second.readAnswer();
  ASSERT_TRUE(busy);
  EXPECT_EQ(busy->status, 503);
  EXPECT_EQ(busy->field("Retry-After"), "1");

  first.send(body.substr(1000));
  EXPECT_EQ(first.readAnswer()->status, 200);
  // What the first held is given back.
  RawConnection third(server->port());
  third.send(post(body));
  EXPECT_EQ(third.readAnswer()->status, 200);
  EXPECT_EQ(server->responses().size(), 2u);
}

}  // namespace
}  // namespace vlq::collector
