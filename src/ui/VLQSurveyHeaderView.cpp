#include "ui/VLQSurveyHeaderView.h"

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIFont.h>

#include "ui/JsonText.h"

namespace vlq::ui {

using namespace toolkit;

VLQSurveyHeaderView::VLQSurveyHeaderView(CGRect frame) : UIView(frame) {
  setBackgroundColor(UIColor::whiteColor());
  questionsLabel_ = std::make_shared<UILabel>();
  questionsLabel_->setText(std::string(kPlaceholderTitle));
  questionsLabel_->setTextAlignment(NSTextAlignment::Center);
  questionsLabel_->setTextColor(UIColor::blackColor());
  questionsLabel_->setFont(UIFont::fontWithName(kHelveticaBold, 16));
  questionsLabel_->setTranslatesAutoresizingMaskIntoConstraints(false);
  // The question's title heads the page's answers.
  questionsLabel_->setAccessibilityTraits(UIAccessibilityTraits::Header);
  addSubview(questionsLabel_);
  NSLayoutConstraint::activateConstraints({
      questionsLabel_->leadingAnchor().constraintEqualToAnchor(leadingAnchor(), 5),
      questionsLabel_->trailingAnchor().constraintEqualToAnchor(trailingAnchor(), 5),
      questionsLabel_->topAnchor().constraintEqualToAnchor(topAnchor(), 5),
      questionsLabel_->bottomAnchor().constraintEqualToAnchor(bottomAnchor(), 5),
  });
}

void VLQSurveyHeaderView::setLook(const SurveyLook& look) {
  setBackgroundColor(look.palette().page);
  questionsLabel_->setTextColor(look.palette().questionText);
  if (look.textScale() != 1.0) {
    questionsLabel_->setFont(look.font(kHelveticaBold, 16));
    questionsLabel_->setNumberOfLines(0);
  }
}

std::shared_ptr<VLQSurveyHeaderView> VLQSurveyHeaderView::initWithFrame(CGRect frame) {
  return std::make_shared<VLQSurveyHeaderView>(frame);
}

void VLQSurveyHeaderView::enableWithData(const std::shared_ptr<VLQQuestionModel>& question) {
  questionsLabel_->setText(question ? displayText(question->questionTitle()) : std::nullopt);
}

}  // namespace vlq::ui
