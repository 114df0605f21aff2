// The survey page on the 390 x 844 phone, one scene per kind of question, each with an answer
// given by taps as a user gives it.

#include "apps/render-views/PageScenes.h"

#include <vlq/toolkit/UITextView.h>
#include <vlq/toolkit/UIWindow.h>

#include "host/reference/SurveyTranslations.h"
#include "model/VLQQuestionsModel.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQRatingCell.h"
#include "ui/VLQSurveyViewController.h"

namespace vlq::render {

namespace {

using namespace vlq::toolkit;
using namespace vlq::ui;

// The sample survey, with its first question's texts in the user's language where it has them,
// as the host's sync stores them.
Json sampleSurvey(const VLQAppearance& appearance) {
  auto survey = Json::parse(R"({"questions": [
    {"id": "201", "title": "How easy was checkout today?", "answer_mode": "single_choice",
     "title_translations": {"de": "Wie einfach war der Kauf heute?",
                            "ar": "ما مدى سهولة الدفع اليوم؟"},
     "choices": [{"id": "e1", "value": "Very easy", "value_translations": {"de": "Sehr einfach", "ar": "سهل جدًا"}},
                 {"id": "e2", "value": "Easy enough", "value_translations": {"de": "Einfach genug", "ar": "سهل بما يكفي"}},
                 {"id": "e3", "value": "A bit confusing", "value_translations": {"de": "Etwas verwirrend", "ar": "مربك قليلًا"}},
                 {"id": "e4", "value": "Hard", "value_translations": {"de": "Schwer", "ar": "صعب"}}]},
    {"id": "202", "title": "Which features did you use?", "answer_mode": "multi_choice",
     "choices": [{"id": "f1", "value": "Saved cards"}, {"id": "f2", "value": "Order tracking"},
                 {"id": "f3", "value": "Gift wrapping"},
                 {"id": "f4", "value": "Other", "is_other": 1}]},
    {"id": "203", "title": "How would you rate the app?", "answer_mode": "rating"}]})");
  reference::translateDocument(survey, appearance.locale);
  return survey;
}

struct PageOnPhone {
  std::shared_ptr<UIWindow> window;
  std::shared_ptr<VLQSurveyViewController> page;

  void tapRow(std::int64_t row) {
    window->layoutIfNeeded();
    if (auto cell = page->surveyTableView()->cellForRowAtIndexPath({0, row})) {
      window->tapAtPoint(cell->convertPointToView({4, 40}, nullptr));
    }
    window->layoutIfNeeded();
  }
  void tap(const std::shared_ptr<UIView>& view) {
    window->layoutIfNeeded();
    window->tapView(*view);
    window->layoutIfNeeded();
  }
};

PageOnPhone pageOnPhone(const VLQAppearance& appearance) {
  PageOnPhone phone;
  phone.window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  phone.window->setWindowSafeAreaInsets({47, 0, 34, 0});
  phone.window->makeKeyAndVisible();
  phone.page = std::make_shared<VLQSurveyViewController>();
  phone.page->setAppearance(appearance);
  phone.page->setQuestions(VLQQuestionsModel::initWithQuestionDictinary(sampleSurvey(appearance)));
  phone.page->setSurveyId("checkout-2026");
  auto navigation = std::make_shared<UINavigationController>(phone.page);
  navigation->setNavigationBarHidden(true);
  phone.window->setRootViewController(navigation);
  phone.window->layoutIfNeeded();
  return phone;
}

}  // namespace

std::vector<Scene> pageScenes(const VLQAppearance& appearance) {
  return {
      {"page-single-choice",
       [appearance] {
         auto phone = pageOnPhone(appearance);
         phone.tapRow(1);
         return std::static_pointer_cast<UIView>(phone.window);
       }},
      {"page-multiple-choice",
       [appearance] {
         auto phone = pageOnPhone(appearance);
         phone.tap(phone.page->nextButton());
         phone.tapRow(0);
         phone.tapRow(1);
         phone.tapRow(3);
         if (auto other = std::dynamic_pointer_cast<VLQOtherOptionCell>(
                 phone.page->surveyTableView()->cellForRowAtIndexPath({0, 3}))) {
           phone.tap(other->otherTextView());
           other->otherTextView()->insertText("Split payment");
           other->otherTextView()->insertText("\n");
         }
         phone.window->layoutIfNeeded();
         return std::static_pointer_cast<UIView>(phone.window);
       }},
      {"page-rating",
       [appearance] {
         auto phone = pageOnPhone(appearance);
         phone.tap(phone.page->nextButton());
         phone.tap(phone.page->nextButton());
         if (auto rating = std::dynamic_pointer_cast<VLQRatingCell>(
                 phone.page->surveyTableView()->cellForRowAtIndexPath({0, 0}))) {
           phone.tap(rating->buttonSuper());
         }
         return std::static_pointer_cast<UIView>(phone.window);
       }},
  };
}

}  // namespace vlq::render
