// The collector as a service that clients retry against: bodies stored once per idempotency key.

#include <gtest/gtest.h>
#include <httplib.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include <vlq/collector/CollectorServer.h>

namespace vlq::collector {
namespace {

httplib::Result postKeyed(const CollectorServer& server, const std::string& body,
                          const std::string& key, const std::string& appId = "a") {
  httplib::Client client(server.baseUrl());
  httplib::Headers headers;
  if (!key.empty()) headers.emplace("Idempotency-Key", key);
  return client.Post(("/v2/api/survey-response?appId=" + appId).c_str(), headers, body,
                     "application/json");
}

std::unique_ptr<CollectorServer> start(CollectorOptions options = {}) {
  std::string error;
  auto server = CollectorServer::start(std::move(options), &error);
  EXPECT_TRUE(server) << error;
  return server;
}

TEST(CollectorFaults, ARepeatedKeyGetsTheFirstAnswerAndStoresNothingEvenAfterARestart) {
  const auto path = std::filesystem::temp_directory_path() /
                    ("vlq-collector-faults-" + std::to_string(::getpid()) + ".sqlite");
  std::filesystem::remove(path);
  // A file written when keys were unique across apps, holding one body of app "a" under key-0.
  sqlite3* old = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &old), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(old,
                         "CREATE TABLE survey_responses (id INTEGER PRIMARY KEY AUTOINCREMENT,"
                         " app_id TEXT NOT NULL, received_at TEXT NOT NULL, url TEXT NOT NULL,"
                         " status INTEGER NOT NULL, body TEXT NOT NULL, idempotency_key TEXT);"
                         "CREATE UNIQUE INDEX survey_responses_key ON survey_responses"
                         "(idempotency_key) WHERE idempotency_key IS NOT NULL;"
                         "INSERT INTO survey_responses"
                         " (app_id, received_at, url, status, body, idempotency_key) VALUES"
                         " ('a', '2024-01-01T00:00:00.000Z', '/x', 201, '{\"old\":1}', 'key-0')",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(old);
  CollectorOptions options;
  options.database = path.string();
  options.status = 503;

  auto server = start(options);
  ASSERT_TRUE(server);
  const auto first = postKeyed(*server, R"({"n":1})", "key-1");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->status, 503);
  EXPECT_EQ(postKeyed(*server, R"({"n":4})", "")->status, 503);
  EXPECT_EQ(postKeyed(*server, R"({"n":4})", "")->status, 503);  // no key: stored each time
  EXPECT_EQ(postKeyed(*server, R"({"n":5})", std::string(256, 'k'))->status, 400);
  server.reset();

  options.status = 200;
  server = start(options);
  ASSERT_TRUE(server);
  // The status changed since: the first answer stands. Another body under the key is refused.
  const auto again = postKeyed(*server, R"({"n":1})", "key-1");
  ASSERT_TRUE(again);
  EXPECT_EQ(again->status, 503);
  EXPECT_EQ(again->body, first->body);
  EXPECT_EQ(postKeyed(*server, R"({"n":2})", "key-1")->status, 409);
  EXPECT_EQ(postKeyed(*server, R"({"old":1})", "key-0")->status, 201);
  // The old file's key belongs to its app only now.
  EXPECT_EQ(postKeyed(*server, R"({"n":3})", "key-0", "b")->status, 200);

  const auto stored = server->responses();
  ASSERT_EQ(stored.size(), 5u);
  EXPECT_EQ(stored[0].body, Json({{"old", 1}}));
  EXPECT_EQ(stored[1].body, Json({{"n", 1}}));
  EXPECT_EQ(stored[1].idempotencyKey, "key-1");
  EXPECT_EQ(stored[2].idempotencyKey, "");
  EXPECT_EQ(stored[4].idempotencyKey, "key-0");
  EXPECT_EQ(stored[4].appId, "b");
  server.reset();
  for (const char* suffix : {"", "-wal", "-shm"})
    std::filesystem::remove(path.string() + suffix);
}

}  // namespace
}  // namespace vlq::collector
