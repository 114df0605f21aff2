#include <gtest/gtest.h>

#include "model/VLQQuestionModel.h"
#include "ui/SuccessCard.h"
#include "ui/UiTestSupport.h"
#include "ui/VLQSurveyHeaderView.h"

namespace vlq::ui {
namespace {

using namespace toolkit;

TEST(HeaderViewTest, ThePlaceholderUntilAQuestionAndTheFivePointOffset) {
  auto header = VLQSurveyHeaderView::initWithFrame(CGRectZero);
  const auto window = test::showInWindow(header, CGRectMake(0, 0, 370, 100));
  const auto& label = header->questionsLabel();
  EXPECT_EQ(label->text(), "VLQSURVEY");
  EXPECT_EQ(label->frame(), CGRectMake(5, 5, 370, 100));

  auto question = std::make_shared<VLQQuestionModel>();
  question->setQuestionTitle("How was your visit?");
  header->enableWithData(question);
  EXPECT_EQ(label->text(), "How was your visit?");
  question->setQuestionTitle(nullptr);
  header->enableWithData(question);
  EXPECT_FALSE(label->text().has_value());
}

TEST(SuccessCardTest, AFixedCardCentredInTheWindowWhateverTheMessage) {
  auto window = std::make_shared<UIWindow>();
  window->makeKeyAndVisible();
  const auto first = buildSuccessCard("Thanks!", window);
  const auto second = buildSuccessCard(std::string(300, 'x'), window);
  window->layoutIfNeeded();
  for (const auto& card : {first, second}) {
    EXPECT_EQ(card->superview(), window);
    EXPECT_EQ(card->frame(), CGRectMake(70, 392, 250, 60));
    EXPECT_EQ(card->subviews().front()->frame(), CGRectMake(10, 10, 230, 40));
  }
  // The newer card lies on top.
  EXPECT_EQ(window->subviews().back(), second);

  const auto orphan = buildSuccessCard("Thanks!", nullptr);
  EXPECT_EQ(orphan->superview(), nullptr);
}

}  // namespace
}  // namespace vlq::ui
