// Moving through a survey: the current question, the progress, the three buttons and the
// choice order, all driven by taps.

#include <algorithm>
#include <set>

#include "session/SurveyPageHarness.h"
#include "session/VLQSurveySession.h"

namespace vlq::ui::test {
namespace {

using namespace toolkit;

std::vector<std::string> shownChoiceIds(const VLQSurveyViewController& page) {
  std::vector<std::string> ids;
  for (const auto& choice : page.choicesArray())
    ids.push_back(describe(choice->surveyId()));
  return ids;
}

// The walk forward and back, the titles, images and progress on each question, a required question
// without Skip and closing from the first question are checked by the end-to-end walkthroughs;
// here, what Skip logs and counts.
TEST_F(SurveyPageTest, SkipLogsWhereItWasPressedAndCountsAsAStep) {
  show(threeQuestionSurvey());
  EXPECT_EQ(host->events()[0].info, (Json{{"survey_id", "s-42"}}));
  EXPECT_EQ(session::initialQuestionCount(), 3);
  EXPECT_EQ(page->responseModelArray().size(), 3u);

  ASSERT_TRUE(tap(page->nextButton()));
  EXPECT_EQ(page->tapCount(), 1);
  EXPECT_EQ(page->questionsCount(), 2u);
  EXPECT_EQ(host->events().back().name, "vlq_survey_skip_button_clicked");
  EXPECT_EQ(host->events().back().info,
            (Json{{"survey_id", "s-42"}, {"where", "How did we do?+3"}}));
}

// The buttons' titles are presentation: translated ones change nothing the buttons do.
TEST_F(SurveyPageTest, TheButtonsActAlikeWhateverTheirTitlesSay) {
  show(Json::parse(R"({"questions": [
    {"id": "1", "title": "First", "answer_mode": "single_choice",
     "choices": [{"id": "a", "value": "A"}]},
    {"id": "2", "title": "Last", "answer_mode": "single_choice",
     "choices": [{"id": "b", "value": "B"}]}]})"));
  page->nextButton()->setTitle("Weiter ohne Antwort", UIControlState::Normal);
  page->submitButton()->setTitle("Skip", UIControlState::Normal);
  EXPECT_FALSE(page->largeButtonSubmits());
  tapRow(0);
  ASSERT_TRUE(tap(page->submitButton()));
  // A step with an answer, not a skip, although the large button read "Skip".
  EXPECT_EQ(page->tapCount(), 1);
  EXPECT_EQ(host->events().back().name, "vlq_survey_+First");
  EXPECT_TRUE(page->largeButtonSubmits());

  ASSERT_TRUE(tap(page->cancelButton()));
  page->submitButton()->setTitle("Submit Feedback", UIControlState::Normal);
  ASSERT_TRUE(tap(page->nextButton()));
  EXPECT_EQ(host->events().back().name, "vlq_survey_skip_button_clicked");
  tapRow(0);
  page->submitButton()->setTitle("Next", UIControlState::Normal);
  ASSERT_TRUE(tap(page->submitButton()));
  EXPECT_EQ(host->posts().size(), 1u);
}

TEST_F(SurveyPageTest, OneQuestionSurveySubmitsFromTheStartAndSkipOnlyFillsTheBar) {
  show(Json::parse(R"({"questions": [{"id": "1", "title": "Only", "answer_mode": "single_choice",
                       "choices": [{"id": "a", "value": "A"}]}]})"));
  EXPECT_EQ(submitTitle(), "Submit Feedback");
  page->nextButtonTapped(page->nextButton().get());
  settle();
  EXPECT_EQ(page->tapCount(), 0);
  EXPECT_EQ(page->vlqSurveyProgressView()->progress(), 1.0F);
}

TEST_F(SurveyPageTest, ShuffleKeepsTheLastOtherAtTheBottom) {
  show(Json::parse(R"({"questions": [
    {"id": "1", "title": "Shuffled", "answer_mode": "multi_choice", "randomize_choices": true,
     "choices": [{"id": "o1", "value": "Other", "is_other": 1}, {"id": "a", "value": "A"},
                 {"id": "o2", "value": "Other", "is_other": 1}, {"id": "b", "value": "B"},
                 {"id": "c", "value": "C"}, {"id": "d", "value": "D"}]},
    {"id": "2", "title": "Kept", "answer_mode": "single_choice",
     "choices": [{"id": "x", "value": "X"}, {"id": "o", "value": "Other", "is_other": 1},
                 {"id": "y", "value": "Y"}]}]})"));
  auto ids = shownChoiceIds(*page);
  ASSERT_EQ(ids.size(), 5u);
  EXPECT_EQ(ids.back(), "o2");
  std::sort(ids.begin(), ids.end() - 1);
  EXPECT_EQ(ids, (std::vector<std::string>{"a", "b", "c", "d", "o2"}));

  // Every order of the four shows up over many shuffles: the source is used uniformly.
  std::set<std::vector<std::string>> orders;
  for (int round = 0; round < 400; ++round) {
    page->randomizeChoices(page->questions()->getQuestionForIndexPath(0));
    orders.insert(shownChoiceIds(*page));
  }
  EXPECT_EQ(orders.size(), 24u);

  ASSERT_TRUE(tap(page->nextButton()));
  EXPECT_EQ(shownChoiceIds(*page), (std::vector<std::string>{"x", "o", "y"}));
}

TEST_F(SurveyPageTest, EmptySurveyHandsTheScreenBack) {
  show(Json::parse(R"({"questions": []})"));
  EXPECT_EQ(plugin->dismissals, 1);
  EXPECT_EQ(page->surveyTableView()->numberOfRowsInSection(0), 0);
  // Its buttons do nothing harmful either.
  page->submitButtonTapped(page->submitButton().get());
  page->nextButtonTapped(page->nextButton().get());
  page->previousTapped(page->cancelButton().get());
  settle();
  loop->advance(1);
}

}  // namespace
}  // namespace vlq::ui::test
