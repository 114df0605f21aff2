// Ending a survey: "Next" with an answer, the submission's body, events and timed hand-back,
// and the close action.

#include <vlq/host/Log.h>
#include <vlq/toolkit/KeyboardNotifications.h>
#include <vlq/toolkit/NSNotificationCenter.h>

#include "session/SurveyPageHarness.h"
#include "support/LogCapture.h"

namespace vlq::ui::test {
namespace {

using namespace toolkit;

TEST_F(SurveyPageTest, AFullRunLogsEveryStepAndPostsTheBody) {
  vlq::testing::LogCapture log(0);
  show(threeQuestionSurvey(), "Thanks for your feedback!");
  tapRow(0);
  ASSERT_TRUE(tap(page->submitButton()));  // "Next" with "Great"
  ASSERT_TRUE(tap(page->nextButton()));    // "Skip"
  ASSERT_TRUE(tap(ratingRow()->buttonSuper()));
  ASSERT_EQ(submitTitle(), "Submit Feedback");
  ASSERT_TRUE(tap(page->submitButton()));

  const std::vector<vlq::test::RecordingHost::Event> expected{
      {"vlq_survey_launched", {{"survey_id", "s-42"}}},
      {"vlq_survey_+How did we do?", {{"survey_id", "s-42"}, {"answers", {"c1"}}}},
      {"vlq_survey_skip_button_clicked",
       {{"survey_id", "s-42"}, {"answers", {"c1"}}, {"where", "What did you use?+2"}}},
  };
  const auto events = host->events();
  ASSERT_EQ(events.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(events[i].name, expected[i].name);
    EXPECT_EQ(events[i].info, expected[i].info) << events[i].name;
  }

  const auto posts = host->posts();
  ASSERT_EQ(posts.size(), 1u);
  EXPECT_EQ(posts[0].url, "/v2/api/survey-response?appId=app-1");
  EXPECT_FALSE(posts[0].headerFields.has_value());
  const Json& body = posts[0].body;
  const Json expectedResponses = Json::parse(R"([
    {"question_id": 101, "answers": ["c1"], "others": []},
    {"answers": []},
    {"question_id": 103, "answers": [4], "others": []}])");
  EXPECT_EQ(body["responses"], expectedResponses);
  EXPECT_EQ(body["survey_id"], "s-42");
  EXPECT_EQ(body["session_id"], "session-1");
  EXPECT_EQ(body["is_completed"], false) << "the skipped question was never answered";
  EXPECT_EQ(body["app_version"], "2.4.0");
  EXPECT_EQ(body["device_uuid"], "device-1");
  EXPECT_FLOAT_EQ(body["time_taken"].get<float>(), static_cast<float>(kSecondsBeforeShow));
  EXPECT_EQ(body["launch_time"].get<std::int64_t>(), static_cast<std::int64_t>(page->launchTime()));
  EXPECT_EQ(body["user_attributes"], (Json{{"tier", "gold"}}));
  EXPECT_EQ(body["session_attributes"], (Json{{"plan", "pro"}}));
  EXPECT_EQ(page->vlqSurveyProgressView()->progress(), 1.0F);
  ASSERT_TRUE(page->surveyModel());
  EXPECT_TRUE(page->surveyModel()->is_completed());

  // The success card lies over the page for half a second, then the screen goes back, whether
  // or not the server has answered.
  ASSERT_TRUE(page->successView());
  EXPECT_EQ(page->successView()->superview(), window);
  loop->advance(0.49);
  EXPECT_EQ(plugin->dismissals, 0);
  loop->advance(0.01);
  EXPECT_EQ(plugin->dismissals, 1);
  EXPECT_EQ(page->successView()->superview(), nullptr);

  ASSERT_TRUE(host->answerNextPost(200));
  EXPECT_EQ(host->events().back().name, "vlq_survey_completed");
  EXPECT_EQ(host->events().back().info, expected.back().info);
  EXPECT_EQ(log.lines().back(),
            "<VLQ DEBUG> Survey responses sent successfully "
            "-[VLQSurveyViewController submitButtonTapped:]_block_invoke:318\n");
}

TEST_F(SurveyPageTest, FailedPostsAndQuietLogLevelsLogNoCompletion) {
  vlq::testing::LogCapture log(2);
  show(Json::parse(R"({"questions": [{"id": "1", "title": "Only", "answer_mode": "rating"}]})"));
  ASSERT_TRUE(tap(ratingRow()->buttonPoor()));
  ASSERT_TRUE(tap(page->submitButton()));
  ASSERT_TRUE(tap(page->submitButton()));
  ASSERT_TRUE(tap(page->submitButton()));
  // Nothing stops a second press within the half second: each press posts.
  ASSERT_EQ(host->posts().size(), 3u);
  EXPECT_EQ(host->posts()[0].body["is_completed"], true);
  EXPECT_EQ(page->successView(), nullptr) << "no message configured, no card";

  ASSERT_TRUE(host->answerNextPost(500));
  ASSERT_TRUE(host->answerNextPost(std::nullopt));
  EXPECT_EQ(host->eventNames().back(), "vlq_survey_launched");
  ASSERT_TRUE(host->answerNextPost(200));
  EXPECT_EQ(host->eventNames().back(), "vlq_survey_completed");
  EXPECT_TRUE(log.lines().empty()) << "the debug line is quiet above level 1";
  loop->advance(0.5);
  EXPECT_EQ(plugin->dismissals, 3);
}

TEST_F(SurveyPageTest, WhateverTheHostThrowsStaysOutOfItsCompletionThread) {
  show(Json::parse(R"({"questions": [{"id": "1", "title": "Only", "answer_mode": "rating"}]})"));
  ASSERT_TRUE(tap(ratingRow()->buttonPoor()));
  ASSERT_TRUE(tap(page->submitButton()));
  struct ThrowingHost : vlq::test::RecordingHost {
    void logAppEventWithName(const std::string&, const Json&) override { throw 42; }
  };
  VLQController::installSharedController(std::make_shared<ThrowingHost>());
  EXPECT_NO_THROW(host->answerNextPost(200));
}

TEST_F(SurveyPageTest, CloseDismissesFirstThenLogs) {
  show(threeQuestionSurvey());
  ASSERT_TRUE(tap(page->nextButton()));
  std::vector<std::string> order;
  struct OrderPlugin : SurveyProtocol {
    explicit OrderPlugin(std::vector<std::string>& order, vlq::test::RecordingHost& host)
        : order(order), host(host) {}
    void willShowSurvey() override {}
    void willDismissSurvey() override {
      order.push_back("dismiss after " + std::to_string(host.events().size()) + " events");
    }
    std::vector<std::string>& order;
    vlq::test::RecordingHost& host;
  };
  page->setSurveyPlugin(std::make_shared<OrderPlugin>(order, *host));
  page->cancelButtonTapped(nullptr);
  EXPECT_EQ(order, std::vector<std::string>{"dismiss after 2 events"});
  EXPECT_EQ(host->events().back().name, "vlq_survey_close_button_clicked");
  EXPECT_EQ(host->events().back().info["where"], "How did we do?+3");
}

TEST_F(SurveyPageTest, KeyboardShiftsThePageUntilItGoes) {
  show(threeQuestionSurvey());
  auto& center = NSNotificationCenter::defaultCenter();
  center.postNotificationName(UIKeyboardWillShowNotification, nullptr,
                              {{UIKeyboardFrameBeginUserInfoKey, CGRectMake(0, 544, 390, 300)}});
  loop->advance(0.2);
  EXPECT_EQ(page->view()->frame().origin.y, -200);
  center.postNotificationName(UIKeyboardWillHideNotification, nullptr);
  loop->advance(0.2);
  EXPECT_EQ(page->view()->frame().origin.y, 0);
  center.postNotificationName(UIKeyboardWillShowNotification, nullptr);
  loop->advance(0.2);
  EXPECT_EQ(page->view()->frame().origin.y, 100) << "no frame given: a zero-height keyboard";

  // Once the page goes, it no longer follows the keyboard.
  page->viewWillDisappear(false);
  center.postNotificationName(UIKeyboardWillHideNotification, nullptr);
  loop->advance(0.2);
  EXPECT_EQ(page->view()->frame().origin.y, 100);
}

TEST_F(SurveyPageTest, FramesOnThePhone) {
  show(threeQuestionSurvey());
  auto frameOf = [](const std::shared_ptr<UIView>& view) {
    return view->convertRectToView(view->bounds(), nullptr);
  };
  EXPECT_EQ(frameOf(page->vlqSurveyProgressView()), CGRectMake(0, 47, 390, 10));
  EXPECT_EQ(frameOf(page->cancelButton()), CGRectMake(10, 87, 50, 50));
  EXPECT_EQ(frameOf(page->nextButton()), CGRectMake(330, 87, 50, 50));
  EXPECT_EQ(frameOf(page->submitButton()), CGRectMake(25, 764, 340, 60));
  EXPECT_EQ(frameOf(page->surveyTableView()), CGRectMake(10, 147, 370, 597));
  auto& table = *page->surveyTableView();
  EXPECT_EQ(table.rectForHeaderInSection(0).size.height, 100);
  for (std::int64_t row = 0; row < 3; ++row) {
    EXPECT_EQ(table.rectForRowAtIndexPath({0, row}).size.height, 80);
  }
  EXPECT_EQ(
      table.rectForRowAtIndexPath({0, 1}).origin.y - table.rectForRowAtIndexPath({0, 0}).origin.y,
      80);
  EXPECT_EQ(page->submitButton()->layer().cornerRadius(), 4);
  EXPECT_FALSE(page->submitButton()->layer().masksToBounds());
  EXPECT_TRUE(page->prefersStatusBarHidden());
}

}  // namespace
}  // namespace vlq::ui::test
