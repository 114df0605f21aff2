#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "collector/CommitGroup.h"

namespace vlq::collector {
namespace {

using Outcome = StoreResult::Outcome;

// Threads store at once through one group whose commit throws for any batch holding a body
// "refuse": every body is committed once, batches never overlap, and a throwing commit fails its
// own batch only; the posts after it are committed as before. Bodies handed over without waiting
// are all committed by the time the group stops.
TEST(CommitGroup, CommitsEachBodyOnceGoesOnAfterACommitThatThrowsAndDrainsWhenStopped) {
  constexpr int kThreads = 8;
  constexpr int kPosts = 300;
  constexpr int kUnwaited = 200;
  std::atomic<bool> committing{false};
  std::atomic<bool> overlapped{false};
  std::map<std::string, int> committed;  // written by one commit at a time
  std::int64_t nextId = 1;
  struct Answer {
    std::string body;
    StoreResult result;
  };
  std::vector<std::vector<Answer>> answers(kThreads);
  std::atomic<int> unwaitedDone{0};
  {
    CommitGroup group([&](const std::vector<PendingResponse*>& batch) {
      if (committing.exchange(true)) overlapped = true;
      struct Done {
        std::atomic<bool>& flag;
        ~Done() { flag = false; }
      } done{committing};
      for (const PendingResponse* pending : batch) {
        if (pending->response->bodyText == "refuse") throw std::runtime_error("refused");
      }
      for (PendingResponse* pending : batch) {
        ++committed[std::string(pending->response->bodyText)];
        pending->result = StoreResult{Outcome::stored, nextId++, 200, {}};
      }
    });
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        for (int post = 0; post < kPosts; ++post) {
          Answer answer;
          answer.body = post % 37 == 5 ? "refuse" : std::to_string(t) + "-" + std::to_string(post);
          std::promise<StoreResult> result;
          group.store({"app", "2024-05-01T10:00:00.000Z", "/", 200, answer.body, {}, nullptr},
                      [&result](StoreResult stored) { result.set_value(std::move(stored)); });
          answer.result = result.get_future().get();
          answers[static_cast<std::size_t>(t)].push_back(std::move(answer));
        }
      });
    }
    for (std::thread& thread : threads)
      thread.join();
    static const std::vector<std::string> unwaited = [] {
      std::vector<std::string> bodies;
      for (int n = 0; n < kUnwaited; ++n)
        bodies.push_back("unwaited-" + std::to_string(n));
      return bodies;
    }();
    for (const std::string& body : unwaited) {
      group.store({"app", "2024-05-01T10:00:00.000Z", "/", 200, body, {}, nullptr},
                  [&unwaitedDone](StoreResult stored) {
                    if (stored.outcome == Outcome::stored) ++unwaitedDone;
                  });
    }
  }  // the group stops here

  EXPECT_FALSE(overlapped);
  EXPECT_EQ(unwaitedDone.load(), kUnwaited);
  int stored = 0, failed = 0;
  for (const auto& mine : answers) {
    for (const Answer& answer : mine) {
      if (answer.result.outcome == Outcome::failed) {
        ++failed;
        EXPECT_EQ(committed.count(answer.body), 0u) << answer.body;
        EXPECT_NE(answer.result.error.find("refused"), std::string::npos) << answer.result.error;
        continue;
      }
      ++stored;
      EXPECT_EQ(answer.result.outcome, Outcome::stored);
      EXPECT_EQ(committed[answer.body], 1) << answer.body;
    }
  }
  EXPECT_EQ(stored + failed, kThreads * kPosts);
  EXPECT_EQ(static_cast<std::size_t>(stored + kUnwaited), committed.size());
  EXPECT_GT(stored, kThreads * kPosts / 2);
}

}  // namespace
}  // namespace vlq::collector
