// The outbox against a recording HTTP server: what each attempt carries, how long the host waits,
// what it gives up on, and what it does when it cannot keep a body.

#include <filesystem>
#include <fstream>
#include <functional>

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
  const std::string path = library.file(ReferenceHost::kOutboxFileName);
  ReferenceHostOptions full;
  full.outboxLimitBytes = 1;  // no room for a body that needs pages of its own
  const std::vector<std::pair<std::function<void()>, ReferenceHostOptions>> cases = {
      {[&] { std::ofstream(path) << "not a database but a shopping list"; }, {}},
      {[&] { std::filesystem::create_directories(path); }, {}},
      {[] {}, full}};
  for (std::size_t index = 0; index < cases.size(); ++index) {
    SCOPED_TRACE(index);
    const std::string accepted = "accepted " + std::to_string(index);
    const std::string failed = "failed " + std::to_string(index);
    std::filesystem::remove_all(path);
    cases[index].first();
    LocalHttpServer server;
    auto host = startHost(server.address(), cases[index].second);
    const Json large = {{"text", std::string(20000, 'x')}};
    post(*host, accepted, large);
    ASSERT_TRUE(loop->runUntilIdle());
    server.answerPostsWith(500, "down");
    post(*host, failed, large);
    ASSERT_TRUE(loop->runUntilIdle());
    ASSERT_TRUE(loop->advance(60));

    ASSERT_EQ(server.posts().size(), 2u);  // once each, never again
    EXPECT_EQ(header(server.posts()[0], "Idempotency-Key").size(), 36u);
    EXPECT_EQ(answersFor(accepted).at(0).status, 200);
    EXPECT_EQ(answersFor(failed).size(), 1u);
    EXPECT_EQ(host->outboxSize(), 0);
    EXPECT_TRUE(anyLineHas(logLines(), "posted once, directly"));
    EXPECT_EQ(stagesOf(keys().back()).front().stage, DeliveryStage::notQueued);
    EXPECT_EQ(stagesOf(keys().back()).back().stage, DeliveryStage::lost);
    destroyHost(host);
  }
}

}  // namespace
}  // namespace vlq::reference::test
