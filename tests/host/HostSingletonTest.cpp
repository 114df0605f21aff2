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

TEST(HostSingletonTest, WithoutAHostEveryOperationDoesNothingAndReturnsEmptyValues) {
  auto host = VLQController::sharedController();
  ASSERT_NE(host, nullptr);
  EXPECT_EQ(host, VLQController::sharedController());

  bool called = false;
  host->getSyncDataForActionType("surveys", "118", [&] { called = true; });
  host->executeAfterDelay(0.0, [&] { called = true; });
  host->postDataToURL("/v2/api/survey-response?appId=", Json::object(), std::nullopt,
                      [&](auto&&...) { called = true; });
  host->registerForEventWithType(15, nullptr);
  host->logAppEventWithName("vlq_survey_launched", Json::object());
  EXPECT_FALSE(called);

  EXPECT_FALSE(host->session().identifier().has_value());
  EXPECT_TRUE(host->session().additionalInfo().is_null());
  EXPECT_TRUE(host->appInfo().additionalInfo().is_null());
  EXPECT_TRUE(host->user().additionalInfo().is_null());
  EXPECT_FALSE(host->getDeviceID().has_value());
  EXPECT_FALSE(host->applicationIdentifier().has_value());

  ASSERT_NE(VLQContextEvaluator::sharedInstance(), nullptr);
  VLQContextEvaluator::sharedInstance()->parseConfiguration(Json::object());
  EXPECT_TRUE(VLQUtilities::readConfig("/etc/hostname").is_null());
  EXPECT_EQ(VLQUtilities::keyWindow(), nullptr);
}

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
