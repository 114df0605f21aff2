#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <thread>

#include <vlq/host/reference/ReferenceHost.h>

#include "LocalHttpServer.h"

namespace vlq::reference {
namespace {

using test::LocalHttpServer;
using test::ScratchDirectory;

struct PostAnswer {
  std::optional<std::string> data;
  std::optional<VLQHTTPResponse> response;
  std::optional<VLQError> error;
  std::thread::id thread;
};

PostAnswer postAndWait(ReferenceHost& host, const std::string& url, const Json& body,
                       const std::optional<VLQHeaderFields>& headers = std::nullopt) {
  std::promise<PostAnswer> answered;
  host.postDataToURL(
      url, body, headers,
      [&](const std::optional<std::string>& data, const std::optional<VLQHTTPResponse>& response,
          const std::optional<VLQError>& error) {
        answered.set_value({data, response, error, std::this_thread::get_id()});
      });
  auto future = answered.get_future();
  EXPECT_EQ(future.wait_for(std::chrono::seconds(30)), std::future_status::ready);
  return future.get();
}

TEST(PostTest, PostsTheBodyAsJsonToTheServiceAndReportsTheAnswer) {
  LocalHttpServer server;
  ScratchDirectory library;
  auto host = ReferenceHost::create({library.path(), server.address(), "", "", ""});
  const Json body = {{"survey_id", "s-1"}, {"responses", Json::array({{{"q", 1}}})}};

  server.answerPostsWith(200, "accepted");
  const auto ok = postAndWait(*host, "/v2/api/survey-response?appId=app-1", body,
                              VLQHeaderFields{{"X-Trace", "t-1"}});
  ASSERT_TRUE(ok.response.has_value());
  EXPECT_EQ(ok.response->statusCode(), 200);
  EXPECT_EQ(ok.data, "accepted");
  EXPECT_FALSE(ok.error.has_value());
  EXPECT_NE(ok.thread, std::this_thread::get_id());

  server.answerPostsWith(500, "broken");
  const auto failed = postAndWait(*host, "/v2/api/survey-response?appId=app-1", body);
  ASSERT_TRUE(failed.response.has_value());
  EXPECT_EQ(failed.response->statusCode(), 500);
  EXPECT_EQ(failed.data, "broken");

  // What each attempt carries (body, content type, the caller's headers, its key) is checked by
  // OutboxTest.
  EXPECT_EQ(server.posts().at(0).target, "/v2/api/survey-response?appId=app-1");
}

TEST(PostTest, AServiceAddressWithAPathPrefixesThePostedPath) {
  LocalHttpServer server;
  ScratchDirectory library;
  auto host = ReferenceHost::create({library.path(), server.address() + "/gateway/", "", "", ""});
  EXPECT_EQ(postAndWait(*host, "/v2/api/survey-response?appId=a", Json::object())
                .response.value_or(VLQHTTPResponse())
                .statusCode(),
            200);
  ASSERT_EQ(server.posts().size(), 1u);
  EXPECT_EQ(server.posts()[0].target, "/gateway/v2/api/survey-response?appId=a");
}

TEST(PostTest, NoAnswerGivesAnErrorAndNoResponse) {
  ScratchDirectory library;
  const std::string refused = "http://127.0.0.1:" + std::to_string(test::closedLocalPort());
  for (const std::string& address : {refused, std::string(), std::string("not a url")}) {
    SCOPED_TRACE(address);
    auto host = ReferenceHost::create({library.path(), address, "", "", ""});
    const auto answer = postAndWait(*host, "/v2/api/survey-response?appId=a", {{"k", 1}});
    EXPECT_FALSE(answer.data.has_value());
    EXPECT_FALSE(answer.response.has_value());
    ASSERT_TRUE(answer.error.has_value());
    EXPECT_FALSE(answer.error->message().empty());
  }
}

}  // namespace
}  // namespace vlq::reference
