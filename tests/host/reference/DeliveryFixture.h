#pragma once

// A reference host on a virtual run loop whose posts, completions, delivery stages and log lines
// are recorded, for the tests of delivery through the outbox.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "LocalHttpServer.h"

namespace vlq::reference::test {

class DeliveryFixture : public ::testing::Test {
 protected:
  // What one call of a post's completion brought.
  struct Answer {
    std::optional<std::int64_t> status;
    bool error = false;
  };

  DeliveryFixture();
  ~DeliveryFixture() override;

  // A host on `library` posting to `serviceAddress`, with its retries seeded.
  std::shared_ptr<ReferenceHost> startHost(const std::string& serviceAddress,
                                           ReferenceHostOptions options = {});
  // Shuts `host` down and lets go of it, so that it is destroyed.
  void destroyHost(std::shared_ptr<ReferenceHost>& host);
  // Posts {"survey_id": tag} (and `extra` keys) through `host`; its completion's calls are kept
  // under `tag`.
  void post(ReferenceHost& host, const std::string& tag, const Json& extra = Json::object(),
            const std::optional<VLQHeaderFields>& headers = std::nullopt);

  std::vector<Answer> answersFor(const std::string& tag) const;
  // The stages seen for the body with `key`, in order; every key seen, in order of first sight.
  std::vector<DeliveryEvent> stagesOf(const std::string& key) const;
  std::vector<std::string> keys() const;
  std::vector<std::string> logLines() const;

  std::shared_ptr<toolkit::VirtualRunLoop> loop = std::make_shared<toolkit::VirtualRunLoop>();
  ScratchDirectory library;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::vector<Answer>> answers_;
  std::vector<DeliveryEvent> stages_;
  std::vector<std::string> log_;
  std::vector<std::shared_ptr<ReferenceHost>> hosts_;
};

}  // namespace vlq::reference::test
