#include <gtest/gtest.h>

#include <atomic>
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
// own batch only; the posts after it are committed as before instead of waiting forever.
TEST(CommitGroup, CommitsEachBodyOnceAndGoesOnAfterACommitThatThrows) {
  constexpr int kThreads = 8;
  constexpr int kPosts = 300;
  CommitGroup group;
  std::atomic<bool> committing{false};
  std::atomic<bool> overlapped{false};
  std::map<std::string, int> committed;  // written by one commit at a time
  std::int64_t nextId = 1;
  const auto commit = [&](const std::vector<PendingResponse*>& batch) {
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
  };

  struct Answer {
    std::string body;
    StoreResult result;
    bool threw = false;
  };
  std::vector<std::vector<Answer>> answers(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int post = 0; post < kPosts; ++post) {
        Answer answer;
        answer.body = post % 37 == 5 ? "refuse" : std::to_string(t) + "-" + std::to_string(post);
        const IncomingResponse response{"app", "2024-05-01T10:00:00.000Z", "/", 200, answer.body,
                                        {}};
        try {
          answer.result = group.store(response, commit);
        } catch (const std::runtime_error&) {
          answer.threw = true;  // this thread ran the commit that threw
        }
        answers[static_cast<std::size_t>(t)].push_back(std::move(answer));
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();

  EXPECT_FALSE(overlapped);
  int stored = 0, failed = 0;
  for (const auto& mine : answers) {
    for (const Answer& answer : mine) {
      if (answer.threw || answer.result.outcome == Outcome::failed) {
        ++failed;
        EXPECT_EQ(committed.count(answer.body), 0u) << answer.body;
        if (!answer.threw) {
          EXPECT_FALSE(answer.result.error.empty());
        }
        continue;
      }
      ++stored;
      EXPECT_EQ(answer.result.outcome, Outcome::stored);
      EXPECT_EQ(committed[answer.body], 1) << answer.body;
    }
  }
  EXPECT_EQ(stored + failed, kThreads * kPosts);
  EXPECT_EQ(static_cast<std::size_t>(stored), committed.size());
  EXPECT_GT(stored, kThreads * kPosts / 2);
}

}  // namespace
}  // namespace vlq::collector
