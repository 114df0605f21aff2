// The outbox against a recording HTTP server: what each attempt carries, how long the host waits,
// what it gives up on, and what it does when it cannot keep a body.

#include <filesystem>
#include <fstream>

#include "DeliveryFixture.h"

namespace vlq::reference::test {
namespace {

using OutboxTest = DeliveryFixture;

std::string header(const LocalHttpServer::ReceivedPost& post, const char* name) {
  return httplib::detail::get_header_value(post.headers, name, 0, "");
}

bool anyLineHas(const std::vector<std::string>& lines, const std::string& text) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

TEST_F(OutboxTest, EveryAttemptCarriesTheBodysKeyAndARetryAfterIsWaitedOut) {
  LocalHttpServer server;
  auto host = startHost(server.address());
  server.answerPostsWith(503, "busy", "120");
  post(*host, "s-1", Json::object(), VLQHeaderFields{{"X-Trace", "t-1"}});
  post(*host, "s-2");
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_EQ(answersFor("s-1").size(), 1u);
  EXPECT_EQ(answersFor("s-1")[0].status, 503);  // the first attempt's answer
  EXPECT_EQ(server.posts().size(), 2u);

  ASSERT_TRUE(loop->advance(119));
  EXPECT_EQ(server.posts().size(), 2u);
  server.answerPostsWith(200, "ok");
  ASSERT_TRUE(loop->advance(2));
  EXPECT_EQ(host->outboxSize(), 0);

  const auto posts = server.posts();
  ASSERT_EQ(posts.size(), 4u);
  const std::string first = header(posts[0], "Idempotency-Key");
  const std::string second = header(posts[1], "Idempotency-Key");
  EXPECT_EQ(first.size(), 36u);
  EXPECT_NE(first, second);
  for (const auto& attempt : {posts[0], posts[2]}) {
    EXPECT_EQ(header(attempt, "Idempotency-Key"), first);
    EXPECT_EQ(header(attempt, "X-Trace"), "t-1");
    EXPECT_EQ(header(attempt, "Content-Type"), "application/json");
    EXPECT_EQ(attempt.body, R"({"survey_id":"s-1"})");
  }
  EXPECT_EQ(header(posts[3], "Idempotency-Key"), second);
  EXPECT_EQ(answersFor("s-1").size(), 1u);
}

TEST_F(OutboxTest, ARefusedBodyGoesToTheDeadLettersWithItsReasonAndIsNeverSentAgain) {
  LocalHttpServer server;
  auto host = startHost(server.address());
  server.answerPostsWith(422, "unknown field");
  post(*host, "s-1");
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_TRUE(loop->advance(600));

  EXPECT_EQ(server.posts().size(), 1u);
  EXPECT_EQ(host->outboxSize(), 0);
  const auto dead = host->deadLetters();
  ASSERT_EQ(dead.size(), 1u);
  EXPECT_EQ(dead[0].status, 422);
  EXPECT_EQ(dead[0].entry.body, R"({"survey_id":"s-1"})");
  EXPECT_NE(dead[0].reason.find("unknown field"), std::string::npos);
  EXPECT_TRUE(anyLineHas(logLines(), "refused the body " + dead[0].entry.key));
  const auto stages = stagesOf(dead[0].entry.key);
  ASSERT_EQ(stages.size(), 3u);
  EXPECT_EQ(stages.back().stage, DeliveryStage::deadLettered);
}

TEST_F(OutboxTest, AnOutboxThatCannotKeepABodyPostsItOnceDirectly) {
  const std::string outboxPath = library.file(ReferenceHost::kOutboxFileName);
  struct Case {
    const char* name;
    std::function<void()> prepare;
    ReferenceHostOptions options;
  };
  ReferenceHostOptions tiny;
  tiny.outboxLimitBytes = 1;  // no room for a body that needs pages of its own
  const std::vector<Case> cases = {
      {"corrupt file",
       [&] { std::ofstream(outboxPath) << "this is not a database, it is a shopping list"; },
       {}},
      {"directory in its place", [&] { std::filesystem::create_directories(outboxPath); }, {}},
      {"full", [] {}, tiny},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    std::filesystem::remove_all(outboxPath);
    test.prepare();
    LocalHttpServer server;
    auto host = startHost(server.address(), test.options);
    const Json large = {{"text", std::string(20000, 'x')}};
    post(*host, std::string(test.name) + " accepted", large);
    ASSERT_TRUE(loop->runUntilIdle());
    server.answerPostsWith(500, "down");
    post(*host, std::string(test.name) + " failed", large);
    ASSERT_TRUE(loop->runUntilIdle());
    ASSERT_TRUE(loop->advance(60));

    EXPECT_EQ(server.posts().size(), 2u);  // once each, no retry
    EXPECT_EQ(header(server.posts()[0], "Idempotency-Key").size(), 36u);
    ASSERT_EQ(answersFor(std::string(test.name) + " accepted").size(), 1u);
    EXPECT_EQ(answersFor(std::string(test.name) + " accepted")[0].status, 200);
    ASSERT_EQ(answersFor(std::string(test.name) + " failed").size(), 1u);
    EXPECT_EQ(host->outboxSize(), 0);
    EXPECT_TRUE(anyLineHas(logLines(), "posted once, directly"));
    const auto lost = stagesOf(keys().back());
    ASSERT_EQ(lost.size(), 3u);
    EXPECT_EQ(lost.front().stage, DeliveryStage::notQueued);
    EXPECT_EQ(lost.back().stage, DeliveryStage::lost);
    host->shutdown();
  }
}

}  // namespace
}  // namespace vlq::reference::test
