// Several collectors on one database, as behind a load balancer: each idempotency key is stored
// once whichever collector receives it, and every collector reads the same results.

#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <vlq/collector/CollectorServer.h>

#include "TestDatabase.h"

namespace vlq::collector {
namespace {

constexpr const char* kDocument = R"({"configs": [{"_id": "s-1", "ui": {"questions": [
  {"id": "1", "title": "Rate us", "answer_mode": "rating"}]}}]})";

std::string bodyOf(int number) {
  return R"({"survey_id": "s-1", "time_taken": 3, "responses": [{"question_id": 1, "answers": [)" +
         std::to_string(number % 5 + 1) + "]}], \"n\": " + std::to_string(number) + "}";
}

TEST(SharedDatabase, CollectorsOnOneDatabaseStoreEachKeyOnceAndReadTheSameResults) {
  test::TestDatabase database;
  std::vector<std::unique_ptr<CollectorServer>> collectors;
  for (int made = 0; made < 3; ++made) {
    CollectorOptions options;
    options.database = database.location();
    options.configDocument = kDocument;
    std::string error;
    collectors.push_back(CollectorServer::start(options, &error));
    ASSERT_TRUE(collectors.back()) << error;
  }
  // Every key goes to every collector at once, as a client that retries through a balancer;
  // every third body has no key and is stored each time it arrives.
  constexpr int kKeys = 60;
  std::atomic<int> acknowledged{0}, refused{0};
  std::vector<std::thread> clients;
  for (const auto& collector : collectors) {
    clients.emplace_back([&, url = collector->baseUrl()] {
      httplib::Client client(url);
      for (int number = 0; number < kKeys; ++number) {
        httplib::Headers headers;
        if (number % 3 != 0) headers.emplace("Idempotency-Key", "key-" + std::to_string(number));
        const auto answer = client.Post("/v2/api/survey-response?appId=a", headers, bodyOf(number),
                                        "application/json");
        (answer && answer->status == 200 ? acknowledged : refused)++;
      }
    });
  }
  for (std::thread& client : clients)
    client.join();
  EXPECT_EQ(refused.load(), 0);
  EXPECT_EQ(acknowledged.load(), 3 * kKeys);

  // A key used for another body is refused by every collector, not only the one that stored it.
  for (const auto& collector : collectors) {
    httplib::Client client(collector->baseUrl());
    const auto answer =
        client.Post("/v2/api/survey-response?appId=a", {{"Idempotency-Key", "key-1"}}, bodyOf(999),
                    "application/json");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 409);
  }

  const int keyed = kKeys - kKeys / 3;
  const int expected = keyed + 3 * (kKeys / 3);
  const auto stored = collectors.front()->responses("a");
  EXPECT_EQ(static_cast<int>(stored.size()), expected);
  std::set<std::string> keys;
  for (const StoredResponse& response : stored) {
    if (!response.idempotencyKey.empty()) {
      EXPECT_TRUE(keys.insert(response.idempotencyKey).second) << response.idempotencyKey;
    }
  }
  EXPECT_EQ(static_cast<int>(keys.size()), keyed);

  // The same batch of events, retried through every collector at once, counts once.
  const std::string batch =
      R"({"events": [{"name": "vlq_survey_launched", "info": {"survey_id": "s-1"},)"
      R"( "time": 1714521600000, "device_id": "d", "session_id": "s"}]})";
  std::vector<std::thread> uploads;
  for (const auto& collector : collectors) {
    uploads.emplace_back([&batch, url = collector->baseUrl()] {
      httplib::Client client(url);
      const auto answer = client.Post("/v2/api/events?appId=a", {{"Idempotency-Key", "batch-1"}},
                                      batch, "application/json");
      EXPECT_TRUE(answer && answer->status == 200);
    });
  }
  for (std::thread& upload : uploads)
    upload.join();

  for (const auto& collector : collectors) {
    httplib::Client client(collector->baseUrl());
    const auto answer = client.Get("/v2/api/results?appId=a&survey=s-1");
    ASSERT_TRUE(answer);
    ASSERT_EQ(answer->status, 200) << answer->body;
    const Json results = Json::parse(answer->body);
    EXPECT_EQ(results["responses"], expected);
    EXPECT_EQ(results["funnel"]["launched"], 1);
    const Json& counts = results["questions"][0]["rating"]["counts"];
    int rated = 0;
    for (const Json& count : counts)
      rated += count.get<int>();
    EXPECT_EQ(rated, expected) << counts.dump();
  }
}

}  // namespace
}  // namespace vlq::collector
