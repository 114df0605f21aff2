#include <gtest/gtest.h>

#include <stdexcept>

#include <vlq/host/VLQDiagnosticsListener.h>

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

// The trace of scheduling, invitations, direct surveys, dismissals, a busy plug-in, an entry
// without "ui" and a trigger nothing matches is checked by the trace-triggers scenario; here, the
// cases it cannot reach.
TEST_F(PluginTest, TheTraceNamesAnIgnoredEventAMissingDocumentAndAMissingWindow) {
  auto listener = std::make_shared<RecordingListener>();
  plugin->setDiagnosticsListener(listener);
  plugin->initialize({});
  host->takeSyncCompletion()();  // no configuration file
  trigger(kSurveyTriggerEventType, Json{{"id", 5}});
  trigger(14, Json{{"id", "card"}});
  EXPECT_EQ(listener->take(),
            parsed({R"({"step": "no-match", "ids": []})", R"({"step": "ignored", "type": 14})"}));

  plugin = VLQSurveyPluginImpl::create();
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
