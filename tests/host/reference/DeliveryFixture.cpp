#include "DeliveryFixture.h"

#include <algorithm>

#include <vlq/toolkit/DispatchQueue.h>

namespace vlq::reference::test {

DeliveryFixture::DeliveryFixture() {
  toolkit::setMainRunLoop(loop);
}

DeliveryFixture::~DeliveryFixture() {
  for (const auto& host : hosts_)
    host->shutdown();
  hosts_.clear();
  toolkit::setMainRunLoop(nullptr);
}

std::shared_ptr<ReferenceHost> DeliveryFixture::startHost(const std::string& serviceAddress,
                                                          ReferenceHostOptions options) {
  options.libraryDirectory = library.path();
  options.serviceAddress = serviceAddress;
  options.retrySeed = 1;
  options.log = [this](const std::string& line) {
    std::lock_guard lock(mutex_);
    log_.push_back(line);
  };
  auto host = ReferenceHost::create(std::move(options));
  host->setDeliveryObserver([this](const DeliveryEvent& event) {
    std::lock_guard lock(mutex_);
    stages_.push_back(event);
  });
  hosts_.push_back(host);
  return host;
}

void DeliveryFixture::destroyHost(std::shared_ptr<ReferenceHost>& host) {
  host->shutdown();
  hosts_.erase(std::remove(hosts_.begin(), hosts_.end(), host), hosts_.end());
  host.reset();
}

void DeliveryFixture::post(ReferenceHost& host, const std::string& tag, const Json& extra,
                           const std::optional<VLQHeaderFields>& headers) {
  Json body = {{"survey_id", tag}};
  body.update(extra);
  host.postDataToURL(
      "/v2/api/survey-response?appId=a", body, headers,
      [this, tag](const std::optional<std::string>&, const std::optional<VLQHTTPResponse>& response,
                  const std::optional<VLQError>& error) {
        std::lock_guard lock(mutex_);
        answers_[tag].push_back(
            {response ? std::optional(response->statusCode()) : std::nullopt, error.has_value()});
      });
}

std::vector<DeliveryFixture::Answer> DeliveryFixture::answersFor(const std::string& tag) const {
  std::lock_guard lock(mutex_);
  const auto found = answers_.find(tag);
  return found == answers_.end() ? std::vector<Answer>{} : found->second;
}

std::vector<DeliveryEvent> DeliveryFixture::stagesOf(const std::string& key) const {
  std::lock_guard lock(mutex_);
  std::vector<DeliveryEvent> stages;
  std::copy_if(stages_.begin(), stages_.end(), std::back_inserter(stages),
               [&](const DeliveryEvent& event) { return event.key == key; });
  return stages;
}

std::vector<std::string> DeliveryFixture::keys() const {
  std::lock_guard lock(mutex_);
  std::vector<std::string> keys;
  for (const auto& event : stages_) {
    if (std::find(keys.begin(), keys.end(), event.key) == keys.end()) keys.push_back(event.key);
  }
  return keys;
}

std::vector<std::string> DeliveryFixture::logLines() const {
  std::lock_guard lock(mutex_);
  return log_;
}

}  // namespace vlq::reference::test
