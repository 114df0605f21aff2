#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/toolkit/DispatchQueue.h>
#include <vlq/toolkit/VirtualRunLoop.h>

#include "LocalHttpServer.h"
#include "host/reference/TargetingEvaluator.h"
#include "support/LogCapture.h"

namespace vlq::reference {
namespace {

using test::ScratchDirectory;

constexpr char kDocument[] = R"({"recontact_days": 3, "configs": [
  {"_id": "pro-only", "targeting": {"events": ["order"], "attributes": {"plan": "pro"}}},
  {"_id": "once", "targeting": {"events": ["order", "visit"], "display": "once"}},
  {"_id": "rating", "targeting": {"events": ["order"]}}]})";

// Stands for the plug-in at the host's boundary, as the host hears it: it takes a trigger up when
// idle and tells the host so as its diagnostics listener, its invitation appears on the main
// queue (an analytics event), and it gives the screen back when the test says.
class StandInPlugin : public VLQEventListener {
 public:
  explicit StandInPlugin(ReferenceHost& host) : host_(host) {}

  void onEvent(std::shared_ptr<const VLQEvent> event) override {
    const std::string id = event->additionalInfo().value("id", "");
    {
      std::lock_guard lock(mutex_);
      triggers_.push_back(event->additionalInfo());
    }
    if (busy_.exchange(true)) return host_.triggerTraced(TriggerTrace(TriggerStep::Busy, id));
    host_.triggerTraced(TriggerTrace(TriggerStep::Scheduled, id, 0));
    toolkit::mainQueue().async([this, id] {
      host_.logAppEventWithName("vlq_survey_dialog_launched", {{"survey_id", id}});
    });
  }
  void giveScreenBack() {
    toolkit::mainQueue().async([this] {
      host_.triggerTraced(TriggerTrace(TriggerStep::Dismissed));
      busy_.store(false);
    });
  }
  std::vector<Json> triggers() const {
    std::lock_guard lock(mutex_);
    return triggers_;
  }

 private:
  ReferenceHost& host_;
  std::atomic<bool> busy_{false};
  mutable std::mutex mutex_;
  std::vector<Json> triggers_;
};

class TargetingHostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    toolkit::setMainRunLoop(loop);
    std::ofstream(library.file("settings.json"))
        << R"({"device_id": "device-7", "user_attributes": {"plan": "free"}})";
  }
  void TearDown() override {
    if (host) host->shutdown();
    toolkit::setMainRunLoop(nullptr);
  }

  // A host on the Library directory with the rules of kDocument and a stand-in plug-in.
  void start(std::function<void(const std::string&)> log = {}) {
    ReferenceHostOptions options;
    options.libraryDirectory = library.path() + "/Library";
    options.settingsFile = library.file("settings.json");
    options.log = std::move(log);
    host = ReferenceHost::create(options);
    host->targeting()->parseConfiguration(Json::parse(kDocument));
    plugin = std::make_shared<StandInPlugin>(*host);
    host->registerForEventWithType(kSurveyTriggerEventType, plugin);
  }
  std::string reason(const std::string& event) {
    const auto judgement = host->targeting()->judge(event);
    const auto& step = judgement.steps.back();
    return step.surveyId + ":" +
           (step.reason ? std::string(notDueReasonName(*step.reason)) : "due");
  }

  std::shared_ptr<toolkit::VirtualRunLoop> loop = std::make_shared<toolkit::VirtualRunLoop>();
  ScratchDirectory library;
  std::shared_ptr<ReferenceHost> host;
  std::shared_ptr<StandInPlugin> plugin;
};

TEST_F(TargetingHostTest, ATrackedEventTriggersTheFirstDueSurveyAndEveryJudgementIsTraced) {
  start();
  testing::LogCapture log(2);
  std::vector<Json> observed;
  std::mutex observedMutex;
  host->setTraceObserver([&](const Json& step) {
    std::lock_guard lock(observedMutex);
    observed.push_back(step);
  });
  host->track("order", {{"total", 12}});
  host->track("unknown");
  ASSERT_TRUE(loop->runUntilIdle());

  ASSERT_EQ(plugin->triggers().size(), 1u);
  EXPECT_EQ(plugin->triggers()[0].dump(),
            R"({"id":"once","event":"order","properties":{"total":12}})");
  EXPECT_EQ(
      log.lines(),
      (std::vector<std::string>{
          R"(<VLQ TRACE> {"step":"not-due","id":"pro-only","event":"order","reason":"attributes"})"
          "\n",
          R"(<VLQ TRACE> {"step":"due","id":"once","event":"order"})"
          "\n",
          R"(<VLQ TRACE> {"step":"scheduled","id":"once","path":"/configs/0"})"
          "\n",
          R"(<VLQ TRACE> {"step":"no-survey-for-event","event":"unknown"})"
          "\n"}));
  std::lock_guard lock(observedMutex);
  ASSERT_EQ(observed.size(), 4u);
  EXPECT_EQ(observed[1], Json::parse(R"({"step":"due","id":"once","event":"order"})"));
}

TEST_F(TargetingHostTest, TwoEventsInQuickSuccessionLetOneSurveyThroughAndTheRestWait) {
  start();
  // From two threads at once while nothing is in action: one trigger, one "busy".
  std::thread first([&] { host->track("order"); });
  std::thread second([&] { host->track("visit"); });
  first.join();
  second.join();
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_EQ(plugin->triggers().size(), 1u);
  EXPECT_EQ(plugin->triggers()[0]["id"], "once");

  // While that survey is in action, two more in quick succession start nothing.
  host->track("order");
  host->track("order");
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(plugin->triggers().size(), 1u);
  EXPECT_EQ(reason("order"), "rating:busy");

  plugin->giveScreenBack();
  ASSERT_TRUE(loop->runUntilIdle());
  EXPECT_EQ(host->targeting()->history().records().at("once").history.showings, 1);
  // "once" is done with and the others wait three days after it.
  EXPECT_EQ(reason("order"), "rating:recontact-wait");
  loop->advance(3 * 86400);
  host->track("order");
  ASSERT_TRUE(loop->runUntilIdle());
  ASSERT_EQ(plugin->triggers().size(), 2u);
  EXPECT_EQ(plugin->triggers()[1]["id"], "rating");
}

TEST_F(TargetingHostTest, TheHistorySurvivesARestartOfTheHost) {
  start();
  host->track("visit");
  ASSERT_TRUE(loop->runUntilIdle());
  host->postDataToURL(std::string(kSurveyUrlPath) + "app", {{"survey_id", "rating"}}, std::nullopt,
                      [](auto&&...) {});
  host->shutdown();

  start();
  EXPECT_EQ(reason("visit"), "once:shown-before");
  EXPECT_TRUE(host->targeting()->history().records().at("rating").history.answered);
  // Kept per device: another device id on the same Library directory starts afresh.
  std::ofstream(library.file("settings.json")) << R"({"device_id": "device-8"})";
  host->shutdown();
  start();
  EXPECT_EQ(reason("visit"), "once:due");
}

// Records a showing and an answer, then dies without shutting anything down.
[[noreturn]] void recordAndCrash(const std::string& libraryDirectory) {
  ReferenceHostOptions options;
  options.libraryDirectory = libraryDirectory;
  auto host = ReferenceHost::create(options);
  host->targeting()->parseConfiguration(Json::parse(kDocument));
  host->raiseEvent(VLQEvent(kSurveyTriggerEventType, Json{{"id", "once"}}));
  host->logAppEventWithName("vlq_survey_launched", {{"survey_id", "once"}});
  host->postDataToURL(std::string(kSurveyUrlPath) + "app", {{"survey_id", "rating"}}, std::nullopt,
                      [](auto&&...) {});
  kill(getpid(), SIGKILL);
  std::abort();
}

TEST(TargetingCrashTest, TheHistorySurvivesACrashOfTheApplication) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The child process runs this test again from the start: it finds the directory in the
  // environment instead of making its own.
  constexpr char kVariable[] = "VLQ_TARGETING_CRASH_LIBRARY";
  std::unique_ptr<ScratchDirectory> scratch;
  std::string directory;
  if (const char* inherited = std::getenv(kVariable)) {
    directory = inherited;
  } else {
    scratch = std::make_unique<ScratchDirectory>();
    directory = scratch->path();
    setenv(kVariable, directory.c_str(), 1);
  }
  EXPECT_EXIT(recordAndCrash(directory), ::testing::KilledBySignal(SIGKILL), "");
  unsetenv(kVariable);

  ReferenceHostOptions options;
  options.libraryDirectory = directory;
  auto host = ReferenceHost::create(options);
  const auto records = host->targeting()->history().records();
  host->shutdown();
  ASSERT_EQ(records.count("once"), 1u);
  EXPECT_EQ(records.at("once").history.showings, 1);
  EXPECT_TRUE(records.at("once").lastTargetedShowing.has_value());
  ASSERT_EQ(records.count("rating"), 1u);
  EXPECT_TRUE(records.at("rating").history.answered);
}

TEST(TargetingHistoryTest, AHistoryFileThatCannotBeUsedLastsForTheRunAndSaysSo) {
  ScratchDirectory library;
  std::filesystem::create_directories(library.path() + "/" +
                                      ReferenceHost::kDisplayHistoryFileName);
  std::vector<std::string> messages;
  ReferenceHostOptions options;
  options.libraryDirectory = library.path();
  options.log = [&](const std::string& message) { messages.push_back(message); };
  auto host = ReferenceHost::create(options);
  host->logAppEventWithName("vlq_survey_launched", {{"survey_id", "s"}});
  EXPECT_FALSE(host->targeting()->history().persistent());
  EXPECT_EQ(host->targeting()->history().records().at("s").history.showings, 1);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_NE(messages[0].find("display history"), std::string::npos) << messages[0];
  host->shutdown();
}

}  // namespace
}  // namespace vlq::reference
