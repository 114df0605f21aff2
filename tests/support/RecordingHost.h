#pragma once

// A host for tests: it records every analytics event and every post, keeps delayed blocks and post
// completions until the test releases them, and answers the value operations with fixed values.
// Safe to call from any thread.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <vlq/host/VLQController.h>

namespace vlq::test {

class RecordingHost : public VLQController {
 public:
  struct Event {
    std::string name;
    Json info;  // a copy, as it was when logged
  };
  struct Post {
    std::string url;
    Json body;
    std::optional<VLQHeaderFields> headerFields;
  };
  struct Delayed {
    double seconds;
    std::function<void()> block;
  };

  // Installs a new recording host as the shared controller and removes it again on destruction.
  static std::shared_ptr<RecordingHost> install();
  ~RecordingHost() override;

  void getSyncDataForActionType(const std::string& actionType, const std::string& version,
                                std::function<void()> completionHandler) override;
  void registerForEventWithType(std::int64_t eventType,
                                std::shared_ptr<VLQEventListener> listener) override;
  void executeAfterDelay(double seconds, std::function<void()> block) override;
  void logAppEventWithName(const std::string& name, const Json& info) override;
  VLQSession session() override;
  VLQApplicationInfo appInfo() override;
  std::optional<std::string> getDeviceID() override;
  VLQUser user() override;
  std::optional<std::string> applicationIdentifier() override;
  void postDataToURL(const std::string& url, const Json& requestBody,
                     const std::optional<VLQHeaderFields>& headerFields,
                     VLQPostCompletion completionHandler) override;

  std::vector<Event> events() const;
  std::vector<std::string> eventNames() const;
  std::vector<Post> posts() const;
  // Answers the oldest unanswered post with `statusCode` (or with an error when `statusCode` is
  // empty); false when none is waiting.
  bool answerNextPost(std::optional<std::int64_t> statusCode);
  std::vector<Delayed> takeDelayed();
  std::function<void()> takeSyncCompletion();
  // The listeners registered so far, which the host then lets go of.
  std::vector<std::pair<std::int64_t, std::shared_ptr<VLQEventListener>>> takeListeners();

 private:
  mutable std::mutex mutex_;
  std::vector<Event> events_;
  std::vector<Post> posts_;
  std::vector<VLQPostCompletion> pendingPosts_;
  std::vector<Delayed> delayed_;
  std::function<void()> syncCompletion_;
  std::vector<std::pair<std::int64_t, std::shared_ptr<VLQEventListener>>> listeners_;
};

}  // namespace vlq::test
