// The upload of the host's analytics events to the service: batches by count and by time on the
// virtual clock, what each event carries, and events that outlive their host or a hand-over cut
// short, stored once by the collector.

#include <sqlite3.h>

#include <filesystem>
#include <fstream>

#include <vlq/collector/CollectorServer.h>

#include "DeliveryFixture.h"

namespace vlq::reference::test {
namespace {

using EventUploadTest = DeliveryFixture;

std::string header(const LocalHttpServer::ReceivedPost& post, const char* name) {
  return httplib::detail::get_header_value(post.headers, name, 0, "");
}

void logLaunches(ReferenceHost& host, int count, const std::string& surveyId = "s1") {
  for (int i = 0; i < count; ++i)
    host.logAppEventWithName("vlq_survey_launched", {{"survey_id", surveyId}, {"n", i}});
}

TEST_F(EventUploadTest, EventsGoOutInBatchesWhenEnoughWaitOrTheFirstHasWaitedLongEnough) {
  LocalHttpServer server;
  const std::string settings = library.file("settings.json");
  std::ofstream(settings) << R"({"app_id": "my app", "device_id": "dev-1",
                                 "session": {"id": "s-9"}})";
  ReferenceHostOptions options;
  options.settingsFile = settings;
  options.eventBatchSize = 3;
  options.eventFlushSeconds = 30;
  auto host = startHost(server.address(), options);

  ASSERT_TRUE(loop->advance(2));
  logLaunches(*host, 3);
  ASSERT_TRUE(loop->runUntilIdle());
  logLaunches(*host, 3);
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_EQ(server.posts().size(), 2u);
  host->logAppEventWithName("vlq_survey_completed", {{"survey_id", "s1"}});
  ASSERT_TRUE(loop->runUntilIdle());
  // The batch's timer is no host work that a host's user waits for, nor a posted body.
  EXPECT_TRUE(host->idle());
  EXPECT_EQ(host->outboxSize(), 0);
  ASSERT_TRUE(loop->advance(29.5));
  EXPECT_EQ(server.posts().size(), 2u);
  ASSERT_TRUE(loop->advance(0.5));

  const auto posts = server.posts();
  ASSERT_EQ(posts.size(), 3u);
  std::set<std::string> keys;
  for (const auto& post : posts) {
    EXPECT_EQ(post.target, "/v2/api/events?appId=my%20app");
    EXPECT_EQ(header(post, "Content-Type"), "application/json");
    keys.insert(header(post, "Idempotency-Key"));
  }
  EXPECT_EQ(keys.size(), 3u);
  const Json first = Json::parse(posts[0].body);
  ASSERT_EQ(first["events"].size(), 3u);
  EXPECT_EQ(first["events"][1], Json::parse(R"({"name": "vlq_survey_launched",
      "info": {"survey_id": "s1", "n": 1}, "time": 1700000002000, "device_id": "dev-1",
      "session_id": "s-9"})"));
  const Json last = Json::parse(posts[2].body);
  ASSERT_EQ(last["events"].size(), 1u);
  EXPECT_EQ(last["events"][0]["name"], "vlq_survey_completed");
}

// The collector's count of the launches of s1 uploaded for the reference host's app.
std::int64_t launchesStored(collector::CollectorServer& collector) {
  httplib::Client client(collector.baseUrl());
  auto result = client.Get("/v2/api/results?appId=reference-app&survey=s1");
  if (!result || result->status != 200) return -1;
  return Json::parse(result->body)["funnel"]["launched"].get<std::int64_t>();
}

TEST_F(EventUploadTest, EventsLeftByAHostOrByAHandOverCutShortAreStoredOnceByTheNextHost) {
  std::string error;
  auto collector = collector::CollectorServer::start({}, &error);
  ASSERT_TRUE(collector) << error;
  ReferenceHostOptions options;
  options.eventBatchSize = 3;
  auto first = startHost(collector->baseUrl(), options);
  logLaunches(*first, 3);
  ASSERT_TRUE(loop->runUntilIdle());
  logLaunches(*first, 2);
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(launchesStored(*collector), 3);  // two wait for their batch to fill or its time
  destroyHost(first);

  // As if the process had ended after handing the first batch over, before noting that it had.
  sqlite3* analytics = nullptr;
  ASSERT_EQ(sqlite3_open(library.file(ReferenceHost::kAnalyticsFileName).c_str(), &analytics),
            SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(analytics,
                         "UPDATE event_uploads SET uploaded_through = 0, pending_first = 1,"
                         " pending_last = 3",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(analytics);

  collector->suspend();
  auto second = startHost(collector->baseUrl(), options);
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_TRUE(loop->advance(60));  // the service is down a while
  collector->resume();
  ASSERT_TRUE(loop->advance(120));
  EXPECT_EQ(launchesStored(*collector), 5);
  EXPECT_TRUE(logLines().empty()) << logLines().front();
  collector->stop();
}

TEST_F(EventUploadTest, WithUploadsTurnedOffNothingGoesOutAndNoOutboxOfEventsIsMade) {
  LocalHttpServer server;
  ReferenceHostOptions options;
  options.uploadEvents = false;
  auto host = startHost(server.address(), options);
  logLaunches(*host, 60);
  host->flushEvents();
  ASSERT_TRUE(loop->advance(60));
  EXPECT_TRUE(server.posts().empty());
  EXPECT_FALSE(std::filesystem::exists(library.file(ReferenceHost::kEventOutboxFileName)));
  EXPECT_EQ(host->storedEvents().size(), 60u);
}

}  // namespace
}  // namespace vlq::reference::test
