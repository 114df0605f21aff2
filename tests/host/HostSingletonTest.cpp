#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "host/VLQContextEvaluator.h"
#include "host/VLQController.h"
#include "host/VLQUtilities.h"

namespace vlq {
namespace {

class CountingController : public VLQController {
 public:
  void logAppEventWithName(const std::string& name, const Json&) override {
    events.push_back(name);
  }
  std::optional<std::string> applicationIdentifier() override { return "app-1"; }

  std::vector<std::string> events;
};

TEST(HostSingletonTest, AnInstalledHostServesUntilItUninstalls) {
  auto host = std::make_shared<CountingController>();
  EXPECT_EQ(VLQController::installSharedController(host), nullptr);
  VLQController::sharedController()->logAppEventWithName("vlq_survey_completed", {});
  EXPECT_EQ(VLQController::sharedController()->applicationIdentifier(), "app-1");
  EXPECT_EQ(host->events, std::vector<std::string>{"vlq_survey_completed"});

  EXPECT_EQ(VLQController::installSharedController(nullptr), host);
  EXPECT_FALSE(VLQController::sharedController()->applicationIdentifier().has_value());
}

TEST(HostSingletonTest, ReadersOnOtherThreadsSeeEitherHostWhileOneInstalls) {
  auto host = std::make_shared<CountingController>();
  std::atomic<bool> done{false};
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!done)
        VLQController::sharedController()->applicationIdentifier();
    });
  }
  for (int i = 0; i < 200; ++i) {
    VLQController::installSharedController(host);
    VLQController::installSharedController(nullptr);
  }
  done = true;
  for (auto& reader : readers)
    reader.join();
  EXPECT_FALSE(VLQController::sharedController()->applicationIdentifier().has_value());
}

}  // namespace
}  // namespace vlq
