#include <gtest/gtest.h>

#include "plugin/PluginTestSupport.h"
#include "support/LogCapture.h"

namespace vlq::plugin::test {
namespace {

using namespace toolkit;

const Json kRoundEntry = surveyEntry("s1", Json{{"delay", 2500},
                                                {"show_success_message", true},
                                                {"success_message", "Thanks!"},
                                                {"dialog_config", dialogConfig("circle")}});

TEST_F(PluginTest, InitialisationSyncsRegistersAndReadsTheLibraryFile) {
  vlq::testing::LogCapture log(7);
  plugin->initialize({});
  EXPECT_EQ(host->syncRequests(),
            (std::vector<std::pair<std::string, std::string>>{{"surveys", "118"}}));
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0],
            "<VLQ INFO> Survey Plugin(118) - Initialized -[VLQSurveyPlugin initialize:]:42\n");
  EXPECT_TRUE(plugin->start());
  EXPECT_FALSE(plugin->stop());
  EXPECT_TRUE(plugin->start());

  // No file yet: registered, but nothing to match.
  auto completion = host->takeSyncCompletion();
  completion();
  const auto listeners = host->takeListeners();
  ASSERT_EQ(listeners.size(), 1u);
  EXPECT_EQ(listeners[0].first, 15);
  EXPECT_EQ(listeners[0].second, plugin);
  EXPECT_TRUE(plugin->surveyConfig().is_null());
  EXPECT_TRUE(evaluator->documents().empty());

  // A later completion reads the file that is there by then and hands it to the evaluator.
  const Json document{{"configs", Json::array({kRoundEntry})}};
  writeConfig(document);
  completion();
  EXPECT_EQ(plugin->surveyConfig(), document);
  ASSERT_EQ(evaluator->documents().size(), 1u);
  EXPECT_EQ(evaluator->documents()[0], document);
}

TEST_F(PluginTest, OtherEventTypesChangeNothingAndBusyTriggersOnlyReplaceTheEvent) {
  initializeWith(Json{{"configs", Json::array({kRoundEntry})}});
  trigger(14, Json{{"id", "s1"}});
  EXPECT_EQ(plugin->surveyEvent(), nullptr);
  EXPECT_FALSE(plugin->isSurveyInAction());
  EXPECT_TRUE(host->takeDelayed().empty());

  trigger("s1");
  EXPECT_TRUE(plugin->isSurveyInAction());
  EXPECT_EQ(plugin->currentViewCntrl(), application);
  EXPECT_EQ(plugin->window(), window);
  auto delayed = host->takeDelayed();
  ASSERT_EQ(delayed.size(), 1u);
  EXPECT_EQ(delayed[0].seconds, 2.5);
  EXPECT_EQ(plugin->surveyId(), "s1");
  EXPECT_EQ(plugin->successMessage(), "Thanks!");

  trigger("another");
  EXPECT_EQ(valueForKey(plugin->surveyEvent()->additionalInfo(), "id"), "another");
  EXPECT_TRUE(host->takeDelayed().empty());
  EXPECT_EQ(plugin->surveyId(), "s1");
}

TEST_F(PluginTest, AnUnmatchedTriggerLeavesThePluginRefusingTriggersForGood) {
  // Ids that are not strings never match, nor does an entry whose "ui" is not an object.
  const Json document{
      {"configs", Json::array({Json{{"_id", 7}, {"ui", Json::object()}},
                               Json{{"_id", "bad-ui"}, {"ui", "text"}}, Json{{"_id", "no-ui"}},
                               "not an entry", kRoundEntry})}};
  for (const Json& info : {Json{{"id", "7"}}, Json{{"id", 7}}, Json{{"name", "s1"}}, Json("s1"),
                           Json{{"id", "bad-ui"}}, Json{{"id", "no-ui"}}, Json{{"id", "S1"}}}) {
    SCOPED_TRACE(info.dump());
    plugin = VLQSurveyPluginImpl::create();
    initializeWith(document);
    trigger(kSurveyTriggerEventType, info);
    EXPECT_TRUE(plugin->isSurveyInAction());
    EXPECT_TRUE(host->takeDelayed().empty());
    EXPECT_FALSE(plugin->surveyId().has_value());
    // Stuck: even the survey that exists no longer starts.
    trigger("s1");
    EXPECT_TRUE(host->takeDelayed().empty());
  }
}

TEST_F(PluginTest, DocumentsOfTheWrongShapeMatchNothingAndThrowNothing) {
  for (const Json& document : {Json::array({kRoundEntry}), Json{{"configs", kRoundEntry}},
                               Json{{"configs", "s1"}}, Json(42)}) {
    SCOPED_TRACE(document.dump());
    plugin = VLQSurveyPluginImpl::create();
    initializeWith(document);
    trigger("s1");
    EXPECT_TRUE(host->takeDelayed().empty());
  }
  // A file that is not JSON at all.
  plugin = VLQSurveyPluginImpl::create();
  std::ofstream(library / std::string(kSurveyConfigLocation)) << "{\"configs\": [";
  plugin->initialize({});
  host->takeSyncCompletion()();
  trigger("s1");
  EXPECT_TRUE(host->takeDelayed().empty());
}

TEST_F(PluginTest, DocumentsNestedTooDeepReadAsUnreadableWhereverTheDepthIs) {
  // Deep enough to exhaust a thread's stack if any copy of the value recursed on it: inside the
  // matched "ui", and before the key that holds the surveys.
  const std::string deep = std::string(60000, '[') + std::string(60000, ']');
  const std::string entry = kRoundEntry.dump();  // {"_id":"s1","ui":{...}}
  const std::string deepInUi = entry.substr(0, entry.size() - 2) + ", \"deep\": " + deep + "}}";
  for (const std::string& text : {"{\"configs\": [" + deepInUi + "]}",
                                  "{\"deep\": " + deep + ", \"configs\": [" + entry + "]}"}) {
    plugin = VLQSurveyPluginImpl::create();
    std::ofstream(library / std::string(kSurveyConfigLocation)) << text;
    plugin->initialize({});
    const auto completion = host->takeSyncCompletion();
    completion();
    EXPECT_TRUE(plugin->surveyConfig().is_null());

    // A later sync of a sound document is read, and its survey is offered.
    writeConfig(Json{{"configs", Json::array({kRoundEntry})}});
    completion();
    trigger("s1");
    EXPECT_EQ(runDelayed(), 1u);
    EXPECT_EQ(host->eventNames().back(), "vlq_survey_dialog_launched");
  }
}

TEST_F(PluginTest, ADocumentNestedAsDeepAsThePlatformReadsShowsItsSurvey) {
  // The document, "configs", the entry and its "ui" are four levels; a value in "ui" nests the
  // rest. 512 levels in all are read, as the platform reads them; 513 are not.
  const auto document = [](std::size_t levels) {
    const std::string entry = kRoundEntry.dump();
    return "{\"configs\": [" + entry.substr(0, entry.size() - 2) +
           ", \"deep\": " + std::string(levels - 4, '[') + std::string(levels - 4, ']') + "}}]}";
  };
  std::ofstream(library / std::string(kSurveyConfigLocation)) << document(513);
  plugin->initialize({});
  const auto completion = host->takeSyncCompletion();
  completion();
  EXPECT_TRUE(plugin->surveyConfig().is_null());

  std::ofstream(library / std::string(kSurveyConfigLocation)) << document(512);
  completion();
  ASSERT_FALSE(plugin->surveyConfig().is_null());
  trigger("s1");
  EXPECT_EQ(runDelayed(), 1u);
  EXPECT_EQ(host->eventNames().back(), "vlq_survey_dialog_launched");
}

TEST_F(PluginTest, WithoutAKeyWindowNothingShowsAndThePluginStaysBusy) {
  initializeWith(Json{{"configs", Json::array({kRoundEntry})}});
  auto other = std::make_shared<UIWindow>();
  other->makeKeyAndVisible();
  other.reset();  // no window is key any more
  trigger("s1");
  EXPECT_TRUE(plugin->isSurveyInAction());
  EXPECT_EQ(plugin->window(), nullptr);
  EXPECT_TRUE(host->takeDelayed().empty());
}

TEST_F(PluginTest, TwoEntriesWithOneIdBuildTwoCardsAndKeepTheLastEntrysValues) {
  initializeWith(Json{
      {"configs",
       Json::array(
           {surveyEntry("twice", Json{{"delay", 100}, {"dialog_config", dialogConfig("circle")}}),
            surveyEntry("twice", Json{{"delay", 200},
                                      {"show_success_message", 1},
                                      {"success_message", "Merci"},
                                      {"dialog_config", dialogConfig("square")}})})}});
  trigger("twice");
  auto delayed = host->takeDelayed();
  ASSERT_EQ(delayed.size(), 2u);
  EXPECT_EQ(delayed[0].seconds, 0.1);
  EXPECT_EQ(delayed[1].seconds, 0.2);
  EXPECT_EQ(plugin->delayInterval(), 0.2);
  EXPECT_EQ(plugin->successMessage(), "Merci");
  for (auto& entry : delayed)
    mainQueue().after(entry.seconds, entry.block);
  loop->advance(0.2);
  const auto shown = cards();
  ASSERT_EQ(shown.size(), 2u);
  // Each delayed step built its own entry's configuration.
  EXPECT_TRUE(shown[0]->usesRoundButtons());
  EXPECT_FALSE(shown[1]->usesRoundButtons());
  EXPECT_EQ(plugin->surveyDialogView(), shown[1]);
  EXPECT_EQ(effectViews().size(), 2u);
}

// A later entry of one id opens its survey after the first one was closed, while the plug-in takes
// triggers again; a trigger then keeps that survey page as the screen to give back. Released, the
// plug-in is still freed.
TEST_F(PluginTest, ReleasedThePluginIsFreedEvenWhenItKeepsASurveyPageToGiveBack) {
  initializeWith(Json{{"configs", Json::array({surveyEntry("twice", Json::object()),
                                               surveyEntry("twice", Json::object()),
                                               surveyEntry("other", Json::object())})}});
  trigger("twice");
  auto delayed = host->takeDelayed();
  ASSERT_EQ(delayed.size(), 2u);
  delayed[0].block();
  loop->runUntilIdle();
  plugin->willDismissSurvey();
  loop->runUntilIdle();
  delayed[1].block();
  loop->runUntilIdle();
  const auto secondPage = window->rootViewController();
  ASSERT_NE(secondPage, application);
  trigger("other");
  runDelayed();
  ASSERT_EQ(plugin->currentViewCntrl(), secondPage);

  // Let go of as a host that unloads it would: no more events, nothing more to run.
  const std::weak_ptr<VLQSurveyPluginImpl> released = plugin;
  host->takeListeners();
  delayed.clear();
  releaseSurveyPlugin(*plugin, *window);
  plugin.reset();
  loop->runUntilIdle();
  EXPECT_TRUE(released.expired());
}

TEST_F(PluginTest, AStormOfTriggersFromManyThreadsGivesExactlyOneInvitation) {
  initializeWith(Json{{"configs", Json::array({kRoundEntry})}});
  std::vector<std::shared_ptr<const VLQEvent>> events;
  for (int index = 0; index < 20; ++index) {
    events.push_back(std::make_shared<const VLQEvent>(15, Json{{"id", "s1"}}));
    events.push_back(std::make_shared<const VLQEvent>(3, Json{{"id", "s1"}}));
  }
  deliverConcurrently(events, 8);
  EXPECT_EQ(runDelayed(), 1u);
  EXPECT_EQ(cards().size(), 1u);
  EXPECT_EQ(effectViews().size(), 1u);
  EXPECT_EQ(host->eventNames(), std::vector<std::string>{"vlq_survey_dialog_launched"});
}

}  // namespace
}  // namespace vlq::plugin::test
