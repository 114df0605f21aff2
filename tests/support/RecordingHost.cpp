#include "support/RecordingHost.h"

#include <utility>

namespace vlq::test {

std::shared_ptr<RecordingHost> RecordingHost::install() {
  auto host = std::make_shared<RecordingHost>();
  VLQController::installSharedController(host);
  return host;
}

RecordingHost::~RecordingHost() = default;

void RecordingHost::getSyncDataForActionType(const std::string&, const std::string&,
                                             std::function<void()> completionHandler) {
  std::lock_guard lock(mutex_);
  syncCompletion_ = std::move(completionHandler);
}

void RecordingHost::registerForEventWithType(std::int64_t eventType,
                                             std::shared_ptr<VLQEventListener> listener) {
  std::lock_guard lock(mutex_);
  listeners_.emplace_back(eventType, std::move(listener));
}

void RecordingHost::executeAfterDelay(double seconds, std::function<void()> block) {
  std::lock_guard lock(mutex_);
  delayed_.push_back({seconds, std::move(block)});
}

void RecordingHost::logAppEventWithName(const std::string& name, const Json& info) {
  std::lock_guard lock(mutex_);
  events_.push_back({name, info});
}

VLQSession RecordingHost::session() {
  return VLQSession("session-1", Json{{"plan", "pro"}});
}

VLQApplicationInfo RecordingHost::appInfo() {
  return VLQApplicationInfo(Json{{"app_version", "2.4.0"}});
}

std::optional<std::string> RecordingHost::getDeviceID() {
  return "device-1";
}

VLQUser RecordingHost::user() {
  return VLQUser(Json{{"tier", "gold"}});
}

std::optional<std::string> RecordingHost::applicationIdentifier() {
  return "app-1";
}

void RecordingHost::postDataToURL(const std::string& url, const Json& requestBody,
                                  const std::optional<VLQHeaderFields>& headerFields,
                                  VLQPostCompletion completionHandler) {
  std::lock_guard lock(mutex_);
  posts_.push_back({url, requestBody, headerFields});
  pendingPosts_.push_back(std::move(completionHandler));
}

std::vector<RecordingHost::Event> RecordingHost::events() const {
  std::lock_guard lock(mutex_);
  return events_;
}

std::vector<std::string> RecordingHost::eventNames() const {
  std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  for (const auto& event : events_)
    names.push_back(event.name);
  return names;
}

std::vector<RecordingHost::Post> RecordingHost::posts() const {
  std::lock_guard lock(mutex_);
  return posts_;
}

bool RecordingHost::answerNextPost(std::optional<std::int64_t> statusCode) {
  VLQPostCompletion completion;
  {
    std::lock_guard lock(mutex_);
    if (pendingPosts_.empty()) return false;
    completion = std::move(pendingPosts_.front());
    pendingPosts_.erase(pendingPosts_.begin());
  }
  if (statusCode) {
    completion(std::string("{}"), VLQHTTPResponse(*statusCode), std::nullopt);
  } else {
    completion(std::nullopt, std::nullopt, VLQError(-1004, "could not connect"));
  }
  return true;
}

std::vector<RecordingHost::Delayed> RecordingHost::takeDelayed() {
  std::lock_guard lock(mutex_);
  return std::exchange(delayed_, {});
}

std::function<void()> RecordingHost::takeSyncCompletion() {
  std::lock_guard lock(mutex_);
  return std::exchange(syncCompletion_, {});
}

std::vector<std::pair<std::int64_t, std::shared_ptr<VLQEventListener>>>
RecordingHost::takeListeners() {
  std::lock_guard lock(mutex_);
  return std::exchange(listeners_, {});
}

}  // namespace vlq::test
