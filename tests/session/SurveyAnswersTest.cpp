// Answering: what each tap on a row, a rating button or the Other field leaves in the current
// question's record, and how the large button follows.

#include "session/SurveyPageHarness.h"
#include "ui/VLQSurveyOptionCell.h"

namespace vlq::ui::test {
namespace {

using namespace toolkit;

std::vector<std::string> answerIds(const VLQSurveyResponseModel& record) {
  std::vector<std::string> ids;
  for (const auto& answer : record.answers()) {
    if (const auto* choice = std::get_if<std::shared_ptr<VLQChoiceModel>>(&answer)) {
      ids.push_back(describe((*choice)->surveyId()));
    } else {
      ids.push_back(std::to_string(std::get<std::int64_t>(answer)));
    }
  }
  return ids;
}

TEST_F(SurveyPageTest, SingleChoiceKeepsTheLastTapAndComesBackSelected) {
  show(threeQuestionSurvey());
  const auto record = page->responseModel();
  tapRow(0);
  tapRow(1);
  EXPECT_EQ(answerIds(*record), std::vector<std::string>{"c2"});
  EXPECT_FALSE(page->choicesArray()[0]->isAnswered());
  EXPECT_TRUE(page->choicesArray()[1]->isAnswered());
  EXPECT_TRUE(record->isAnswered());
  EXPECT_EQ(record->questionId(), 101);
  EXPECT_TRUE(submitEnabled());

  ASSERT_TRUE(tap(page->submitButton()));
  ASSERT_TRUE(tap(page->cancelButton()));
  EXPECT_EQ(page->tapCount(), 0);
  EXPECT_EQ(page->surveyTableView()->indexPathsForSelectedRows(),
            std::vector<NSIndexPath>{NSIndexPath(0, 1)});
  EXPECT_TRUE(submitEnabled()) << "an answered question can be left with Next at once";
  auto optionRow = [this](std::int64_t row) {
    return std::dynamic_pointer_cast<VLQSurveyOptionCell>(
        page->surveyTableView()->cellForRowAtIndexPath({0, row}));
  };
  // The chosen card looks chosen again; the others, recycled from the question before, look
  // fresh.
  EXPECT_EQ(optionRow(1)->bgView()->backgroundColor(), UIColor::rgb255(209, 76, 86));
  EXPECT_EQ(optionRow(1)->optionLabel()->textColor(), UIColor::whiteColor());
  EXPECT_EQ(optionRow(0)->bgView()->backgroundColor(), UIColor::whiteColor());
  EXPECT_EQ(optionRow(0)->optionLabel()->textColor(), UIColor::rgb255(135, 135, 135));
  // Tapping the other row moves the answer over.
  tapRow(2);
  EXPECT_EQ(answerIds(*record), std::vector<std::string>{"c3"});
  EXPECT_FALSE(page->choicesArray()[1]->isAnswered());
}

TEST_F(SurveyPageTest, MultipleChoiceAndTheOtherRow) {
  show(threeQuestionSurvey());
  ASSERT_TRUE(tap(page->nextButton()));
  const auto record = page->responseModel();
  tapRow(0);
  tapRow(1);
  tapRow(0);
  EXPECT_EQ(answerIds(*record), std::vector<std::string>{"m2"});
  EXPECT_TRUE(submitEnabled());
  tapRow(1);
  EXPECT_TRUE(answerIds(*record).empty());
  EXPECT_TRUE(record->isAnswered()) << "a touched question stays answered";
  EXPECT_FALSE(submitEnabled());

  // The Other row's choice goes in on every selection; reloading the row drops its selection,
  // so a second tap selects it again and lists it twice.
  tapRow(2);
  tapRow(2);
  EXPECT_EQ(answerIds(*record), (std::vector<std::string>{"m3", "m3"}));
  EXPECT_TRUE(page->questions()->getQuestionForIndexPath(1)->isOtherSelected());

  typeOther(2, "Gift cards");
  EXPECT_EQ(record->answer(), "Gift cards");
  EXPECT_EQ(record->questionId(), 102);

  // Back and forth: the typed text is shown again in the Other row.
  ASSERT_TRUE(tap(page->cancelButton()));
  EXPECT_FALSE(tap(page->submitButton())) << "the unanswered first question locks Next";
  ASSERT_TRUE(tap(page->nextButton()));
  ASSERT_EQ(page->tapCount(), 1);
  EXPECT_EQ(otherRow(2)->otherTextView()->text(), "Gift cards");
}

TEST_F(SurveyPageTest, TypingInTheOtherFieldEnablesAndClearingItDims) {
  show(threeQuestionSurvey());
  ASSERT_TRUE(tap(page->nextButton()));
  const auto record = page->responseModel();
  typeOther(2, "x");
  EXPECT_TRUE(submitEnabled()) << "typed text alone enables the button";
  EXPECT_EQ(record->answer(), "x");
  EXPECT_TRUE(answerIds(*record).empty());

  // Clearing the field reports no text: the button dims but stays tappable.
  page->didTapOtherCell(std::nullopt);
  EXPECT_TRUE(page->submitButton()->isUserInteractionEnabled());
  EXPECT_EQ(page->submitButton()->layer().opacity(), 0.5);
  EXPECT_EQ(record->answer(), "");
  ASSERT_TRUE(tap(page->submitButton()));
  EXPECT_EQ(page->tapCount(), 2);
}

TEST_F(SurveyPageTest, RatingsStoreTheLevelPlusOneAndCarryOverToTheNextRatingQuestion) {
  show(Json::parse(R"({"questions": [
    {"id": "1", "title": "Speed", "answer_mode": "rating"},
    {"id": "2", "title": "Looks", "answer_mode": "rating"}]})"));
  const auto first = page->responseModel();
  EXPECT_FALSE(submitEnabled());
  ASSERT_TRUE(tap(ratingRow()->buttonGood()));
  EXPECT_EQ(page->ratingState(), 2u);
  EXPECT_EQ(answerIds(*first), std::vector<std::string>{"3"});
  EXPECT_TRUE(first->isAnswered());
  ASSERT_TRUE(tap(ratingRow()->buttonFantastic()));
  EXPECT_EQ(answerIds(*first), std::vector<std::string>{"5"});
  ASSERT_TRUE(tap(ratingRow()->buttonAverage()));
  EXPECT_TRUE(submitEnabled());

  ASSERT_TRUE(tap(page->submitButton()));
  EXPECT_EQ(host->events().back().name, "vlq_survey_+Speed");
  EXPECT_EQ(host->events().back().info["answers"], Json::array({2}));
  const auto second = page->responseModel();
  ASSERT_NE(first, second);
  EXPECT_EQ(answerIds(*second), std::vector<std::string>{"2"});
  EXPECT_FALSE(second->isAnswered());
  EXPECT_TRUE(submitEnabled());
}

}  // namespace
}  // namespace vlq::ui::test
