// Posts that reach a store together are committed together; each must still be answered as if it
// had been stored alone.

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "TestDatabase.h"
#include "collector/ResponseStore.h"

namespace vlq::collector {
namespace {

using Outcome = StoreResult::Outcome;

struct Post {
  std::string key;
  std::string body;
  StoreResult result;
};

TEST(ResponseStore, PostsCommittedTogetherAreEachAnsweredAsIfStoredAlone) {
  test::TestDatabase database;
  std::string error;
  auto store = openResponseStore(database.location(), error);
  ASSERT_TRUE(store) << error;
  std::mutex announcedMutex;
  std::vector<std::int64_t> announced;
  store->setStoredListener([&](const StoredResponse& stored) {
    std::lock_guard lock(announcedMutex);
    announced.push_back(stored.id);
  });

  // Each round, every thread posts at once: a body without a key, one under its own key, the same
  // body under a key every thread shares, and its own body under another shared key. Texts hold
  // what an array of texts must quote.
  constexpr int kThreads = 12;
  constexpr int kRounds = 10;
  std::vector<std::vector<Post>> posts(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string tag = std::to_string(t) + "-" + std::to_string(round);
      const std::string quoted = R"("q": "a\"b\\c{d,e} NULL ü")";
      posts[t].push_back({"", R"({"unkeyed": ")" + tag + R"(", )" + quoted + "}", {}});
      posts[t].push_back({"own-" + tag, R"({"own": ")" + tag + R"(", )" + quoted + "}", {}});
      posts[t].push_back(
          {"same-" + std::to_string(round), R"({"same": )" + std::to_string(round) + "}", {}});
      posts[t].push_back({"clash-" + std::to_string(round), R"({"clash": ")" + tag + R"("})", {}});
    }
  }
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t at = 0; at < posts[t].size(); ++at) {
        if (at % 4 == 0) start.arrive_and_wait();
        Post& post = posts[t][at];
        post.result = store->store({"app", "2024-05-01T10:00:00.000Z", "/v2/api/survey-response",
                                    200, post.body, post.key, nullptr});
      }
    });
  }
  for (auto& thread : threads)
    thread.join();

  std::map<std::int64_t, std::string> storedBodies;  // id -> body, of the posts answered "stored"
  std::map<std::string, std::int64_t> idOfKey;
  for (const auto& mine : posts) {
    for (const Post& post : mine) {
      ASSERT_NE(post.result.outcome, Outcome::failed) << post.result.error;
      if (post.result.outcome != Outcome::stored) continue;
      EXPECT_TRUE(storedBodies.emplace(post.result.id, post.body).second) << "id given twice";
      if (!post.key.empty()) {
        EXPECT_TRUE(idOfKey.emplace(post.key, post.result.id).second);
      }
    }
  }
  // Every unkeyed and own-key body, and one body per shared key.
  EXPECT_EQ(storedBodies.size(), static_cast<std::size_t>(kThreads * kRounds * 2 + kRounds * 2));
  for (const auto& mine : posts) {
    for (const Post& post : mine) {
      if (post.result.outcome == Outcome::stored) continue;
      ASSERT_TRUE(idOfKey.count(post.key)) << post.key;
      EXPECT_EQ(post.result.id, idOfKey[post.key]) << post.key;
      const bool sameBody = storedBodies[post.result.id] == post.body;
      EXPECT_EQ(post.result.outcome, sameBody ? Outcome::repeated : Outcome::conflict) << post.key;
      EXPECT_EQ(post.result.status, 200);
    }
  }
  for (const StoredResponse& kept : store->all("app")) {
    ASSERT_TRUE(storedBodies.count(kept.id));
    EXPECT_EQ(kept.body, parseJsonDocument(storedBodies[kept.id]).value_or(nullptr));
  }
  std::lock_guard lock(announcedMutex);
  EXPECT_TRUE(std::is_sorted(announced.begin(), announced.end()));
  EXPECT_EQ(std::set<std::int64_t>(announced.begin(), announced.end()).size(), storedBodies.size());
}

TEST(ResponseStore, ABodyTheDatabaseRefusesFailsAloneAmongThoseCommittedWithIt) {
  test::TestDatabase database;
  if (!database.onPostgres()) GTEST_SKIP() << "SQLite keeps any bytes as text";
  std::string error;
  auto store = openResponseStore(database.location(), error);
  ASSERT_TRUE(store) << error;
  constexpr int kThreads = 8;
  std::barrier start(kThreads);
  std::vector<StoreResult> results(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      // Thread 0's body is not UTF-8, which the server's text refuses.
      const std::string body =
          t == 0 ? "{\"bad\": \"\xff\"}" : "{\"n\": " + std::to_string(t) + "}";
      start.arrive_and_wait();
      results[t] = store->store({"app", "2024-05-01T10:00:00.000Z", "/v2/api/survey-response", 200,
                                 body, "key-" + std::to_string(t), nullptr});
    });
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(results[0].outcome, Outcome::failed);
  for (int t = 1; t < kThreads; ++t)
    EXPECT_EQ(results[t].outcome, Outcome::stored) << results[t].error;
  EXPECT_EQ(store->all("app").size(), static_cast<std::size_t>(kThreads - 1));
}

TEST(ResponseStore, ClientsRetryingThroughABrokenDatabaseConnectionStoreEachKeyOnce) {
  test::TestDatabase database;
  if (!database.onPostgres()) GTEST_SKIP() << "an SQLite file has no connection to break";
  std::string error;
  // Named, so that the test can end the server's side of the store's connections.
  auto store = openResponseStore(database.location() + "&application_name=vlq_broken_link", error);
  ASSERT_TRUE(store) << error;

  // Each client posts under its own keys and posts again whatever failed, as a client of the
  // service does, while the server ends the store's connections twice.
  constexpr int kThreads = 8;
  constexpr int kPosts = 40;
  std::atomic<int> posted{0};
  std::vector<std::map<std::string, StoreResult>> answers(kThreads);
  std::vector<int> failures(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int n = 0; n < kPosts; ++n) {
        const std::string key = std::to_string(t) + "-" + std::to_string(n);
        const std::string body = R"({"key": ")" + key + R"("})";
        StoreResult result;
        for (int attempt = 0; attempt < 5; ++attempt) {
          result = store->store({"app", "2024-05-01T10:00:00.000Z", "/v2/api/survey-response", 200,
                                 body, key, nullptr});
          if (result.outcome != Outcome::failed) break;
          EXPECT_FALSE(result.error.empty());
          ++failures[t];
        }
        answers[t][key] = result;
        ++posted;
      }
    });
  }
  const std::string endConnections =
      "SELECT pg_terminate_backend(pid) FROM pg_stat_activity"
      " WHERE application_name = 'vlq_broken_link'";
  for (const int after : {kThreads * kPosts / 4, kThreads * kPosts / 2}) {
    while (posted < after)
      std::this_thread::yield();
    database.executeOnResults(endConnections);
  }
  for (auto& thread : threads)
    thread.join();

  std::map<std::string, std::int64_t> stored;
  for (const StoredResponse& kept : store->all("app")) {
    EXPECT_TRUE(stored.emplace(kept.idempotencyKey, kept.id).second)
        << kept.idempotencyKey << " stored twice";
  }
  int failed = 0;
  for (int t = 0; t < kThreads; ++t) {
    failed += failures[t];
    for (const auto& [key, result] : answers[t]) {
      ASSERT_NE(result.outcome, Outcome::failed) << key << ": " << result.error;
      // A retry finds what an answer lost to the break had stored.
      EXPECT_TRUE(result.outcome == Outcome::stored || result.outcome == Outcome::repeated);
      EXPECT_EQ(result.id, stored[key]) << key;
    }
  }
  EXPECT_EQ(stored.size(), static_cast<std::size_t>(kThreads * kPosts));
  EXPECT_LT(failed, kThreads * kPosts / 4) << "most posts go through, before and after the breaks";
}

}  // namespace
}  // namespace vlq::collector
