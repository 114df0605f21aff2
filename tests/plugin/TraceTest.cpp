#include <gtest/gtest.h>

#include <stdexcept>

#include "host/VLQDiagnosticsListener.h"
#include "plugin/PluginTestSupport.h"

namespace vlq::plugin::test {
namespace {

using namespace toolkit;

// Keeps every decision, as the simulator prints it.
class RecordingListener : public VLQDiagnosticsListener {
 public:
  void triggerTraced(const TriggerTrace& trace) override {
    std::lock_guard lock(mutex_);
    traces_.push_back(describeTriggerTrace(trace));
  }
  std::vector<Json> take() {
    std::lock_guard lock(mutex_);
    return std::exchange(traces_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<Json> traces_;
};

class ThrowingListener : public VLQDiagnosticsListener {
 public:
  void triggerTraced(const TriggerTrace&) override { throw std::runtime_error("listener failed"); }
};

const Json kDocument{
    {"configs",
     Json::array(
         {surveyEntry("card", Json{{"delay", 2500}, {"dialog_config", dialogConfig("circle")}}),
          Json{{"_id", "bare"}}, surveyEntry("direct", Json{{"delay", 100}}), Json{{"_id", 7}}})}};

std::vector<Json> parsed(std::initializer_list<const char*> lines) {
  std::vector<Json> result;
  for (const char* line : lines)
    result.push_back(Json::parse(line));
  return result;
}

TEST_F(PluginTest, TheTraceTellsWhyEachTriggerShowedASurveyOrNot) {
  initializeWith(kDocument);
  auto listener = std::make_shared<RecordingListener>();
  plugin->setDiagnosticsListener(listener);

  trigger(14, Json{{"id", "card"}});
  trigger("card");
  trigger("direct");
  runDelayed();
  plugin->willDismissSurvey();
  loop->runUntilIdle();
  EXPECT_EQ(listener->take(), parsed({
                                  R"({"step": "ignored", "type": 14})",
                                  R"({"step": "scheduled", "id": "card", "path": "/configs/0",
                                      "delay_seconds": 2.5})",
                                  R"({"step": "busy", "id": "direct"})",
                                  R"({"step": "invitation", "id": "card", "path": "/configs/0"})",
                                  R"({"step": "dismissed", "id": "card"})",
                              }));

  trigger("direct");
  runDelayed();
  EXPECT_EQ(listener->take(), parsed({
                                  R"({"step": "scheduled", "id": "direct", "path": "/configs/2",
                                      "delay_seconds": 0.1})",
                                  R"({"step": "direct", "id": "direct", "path": "/configs/2"})",
                              }));
  plugin->willDismissSurvey();
  loop->runUntilIdle();
  listener->take();

  // An entry without "ui" is skipped; with nothing scheduled the plug-in stays busy for good.
  trigger("bare");
  trigger("card");
  EXPECT_EQ(listener->take(),
            parsed({
                R"({"step": "no-ui", "id": "bare", "path": "/configs/1"})",
                R"({"step": "no-match", "id": "bare", "ids": ["card", "bare", "direct"]})",
                R"({"step": "busy", "id": "card"})",
            }));
}

TEST_F(PluginTest, TheTraceNamesAMissingWindowAndAMissingDocument) {
  auto listener = std::make_shared<RecordingListener>();
  plugin->setDiagnosticsListener(listener);
  plugin->initialize({});
  host->takeSyncCompletion()();  // no configuration file
  trigger(kSurveyTriggerEventType, Json{{"id", 5}});
  EXPECT_EQ(listener->take(), parsed({R"({"step": "no-match", "ids": []})"}));

  plugin = VLQSurveyPlugin::create();
  plugin->setDiagnosticsListener(listener);
  initializeWith(kDocument);
  std::make_shared<UIWindow>()->makeKeyAndVisible();  // and gone at once: no window is key
  trigger("card");
  EXPECT_EQ(listener->take(), parsed({R"({"step": "no-window", "id": "card"})"}));
}

TEST_F(PluginTest, AListenerThatThrowsChangesNothingAndCanBeRemoved) {
  initializeWith(kDocument);
  plugin->setDiagnosticsListener(std::make_shared<ThrowingListener>());
  trigger("card");
  EXPECT_EQ(runDelayed(), 1u);
  EXPECT_EQ(cards().size(), 1u);
  EXPECT_EQ(host->eventNames(), std::vector<std::string>{"vlq_survey_dialog_launched"});
  plugin->willDismissSurvey();
  loop->runUntilIdle();
  EXPECT_FALSE(plugin->isSurveyInAction());

  auto listener = std::make_shared<RecordingListener>();
  plugin->setDiagnosticsListener(listener);
  plugin->setDiagnosticsListener(nullptr);
  trigger("card");
  EXPECT_TRUE(listener->take().empty());
  EXPECT_EQ(host->takeDelayed().size(), 1u);
}

}  // namespace
}  // namespace vlq::plugin::test
