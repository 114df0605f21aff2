#include "ui/VLQSurveyDialogView.h"

#include <vlq/host/VLQController.h>
#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UIImage.h>

namespace vlq::ui {

using namespace toolkit;

namespace {

// Both buttons go into the bottom band, accept first, with the layout's corner radius.
void putButtonsInBand(UIView& band, const std::shared_ptr<UIButton>& yes,
                      const std::shared_ptr<UIButton>& no, double cornerRadius) {
  band.addSubview(yes);
  band.addSubview(no);
  yes->layer().setCornerRadius(cornerRadius);
  no->layer().setCornerRadius(cornerRadius);
}

}  // namespace

VLQSurveyDialogView::VLQSurveyDialogView(CGRect frame) : UIView(frame) {
  setBackgroundColor(UIColor::lightGrayColor());

  surveyImageView_ = std::make_shared<UIImageView>();
  surveyImageView_->setContentMode(UIViewContentMode::ScaleToFill);
  surveyTitle_ = std::make_shared<UILabel>();
  surveySubTitle_ = std::make_shared<UILabel>();
  surveyNoButton_ = std::make_shared<UIButton>();
  surveyYesButton_ = std::make_shared<UIButton>();
  stackView_ = std::make_shared<UIStackView>();
  labelsStackView_ = std::make_shared<UIStackView>();
  imageStackView_ = std::make_shared<UIStackView>();
  verticalStackView_ = std::make_shared<UIStackView>();
  imageBackgroundView_ = std::make_shared<UIView>();
  labelsBackgroundView_ = std::make_shared<UIView>();
  buttonsBackgroundView_ = std::make_shared<UIView>();
  for (const auto& band : {imageBackgroundView_, labelsBackgroundView_, buttonsBackgroundView_})
    band->setTranslatesAutoresizingMaskIntoConstraints(false);

  surveyYesButton_->addTarget(this, &VLQSurveyDialogView::yesButtonTapped,
                              UIControlEvents::TouchUpInside);
  CALayer& yesLayer = surveyYesButton_->layer();
  yesLayer.setShadowColor(UIColor::blackColor().colorWithAlphaComponent(0.25));
  yesLayer.setShadowOffset(CGSize{0, 2});
  yesLayer.setShadowOpacity(1.0);
  yesLayer.setShadowRadius(0);
  yesLayer.setMasksToBounds(false);
  yesLayer.setCornerRadius(4);
  surveyYesButton_->setTitleColor(kYesTitleColor, UIControlState::Normal);
  surveyYesButton_->setBackgroundColor(kYesColor);

  surveyNoButton_->addTarget(this, &VLQSurveyDialogView::noButtonTapped,
                             UIControlEvents::TouchUpInside);
  surveyNoButton_->setBackgroundColor(UIColor::whiteColor());
  surveyNoButton_->layer().setBorderWidth(1);
  surveyNoButton_->layer().setBorderColor(kNoBorderColor);
  surveyNoButton_->setBackgroundColor(kNoColor);
  surveyNoButton_->setTitleColor(kNoTitleColor, UIControlState::Normal);

  const std::vector<std::shared_ptr<UIView>> placed{
      surveyImageView_, surveyTitle_,     surveySubTitle_, surveyYesButton_,  surveyNoButton_,
      stackView_,       labelsStackView_, imageStackView_, verticalStackView_};
  for (const auto& view : placed)
    view->setTranslatesAutoresizingMaskIntoConstraints(false);

  surveyImageView_->setClipsToBounds(true);
  stackView_->setAxis(UILayoutConstraintAxis::Vertical);
  stackView_->addArrangedSubview(imageBackgroundView_);
  stackView_->addArrangedSubview(labelsBackgroundView_);
  stackView_->addArrangedSubview(buttonsBackgroundView_);
  addSubview(stackView_);

  // The bands share the card's height 35 : 20 : 45.
  NSLayoutConstraint::activateConstraints({
      imageBackgroundView_->heightAnchor().constraintEqualToAnchor(stackView_->heightAnchor(),
                                                                   Multiplier{0.35}),
      labelsBackgroundView_->heightAnchor().constraintEqualToAnchor(stackView_->heightAnchor(),
                                                                    Multiplier{0.2}),
      buttonsBackgroundView_->heightAnchor().constraintEqualToAnchor(stackView_->heightAnchor(),
                                                                     Multiplier{0.45}),
  });

  createStackView();
  addImageToBackgroundViewWithConstraints();
  addLabelsToBackgroundViewWithConstraints();
  setAccessibilityViewIsModal(true);
}

std::shared_ptr<VLQSurveyDialogView> VLQSurveyDialogView::initWithFrame(CGRect frame) {
  return std::make_shared<VLQSurveyDialogView>(frame);
}

void VLQSurveyDialogView::createStackView() {
  NSLayoutConstraint::activateConstraints({
      stackView_->leadingAnchor().constraintEqualToAnchor(leadingAnchor()),
      stackView_->trailingAnchor().constraintEqualToAnchor(trailingAnchor()),
      stackView_->bottomAnchor().constraintEqualToAnchor(bottomAnchor()),
      stackView_->topAnchor().constraintEqualToAnchor(topAnchor()),
  });
}

void VLQSurveyDialogView::addImageToBackgroundViewWithConstraints() {
  imageBackgroundView_->addSubview(surveyImageView_);
  surveyImageView_->setImage(
      UIImage::imageNamed(kHeartString, NSBundle::bundleWithIdentifier(kSurveyBundle), nullptr));
  surveyImageView_->setContentMode(UIViewContentMode::ScaleAspectFit);
  // As tall as its band but starting 10 below the band's top: it overhangs the labels by 10.
  NSLayoutConstraint::activateConstraints({
      surveyImageView_->centerXAnchor().constraintEqualToAnchor(
          imageBackgroundView_->centerXAnchor()),
      surveyImageView_->heightAnchor().constraintEqualToAnchor(
          imageBackgroundView_->heightAnchor()),
      surveyImageView_->widthAnchor().constraintEqualToAnchor(imageBackgroundView_->widthAnchor()),
      surveyImageView_->topAnchor().constraintEqualToAnchor(imageBackgroundView_->topAnchor(), 10),
  });
}

void VLQSurveyDialogView::addLabelsToBackgroundViewWithConstraints() {
  for (const auto& label : {surveyTitle_, surveySubTitle_}) {
    label->setTextColor(UIColor::lightGrayColor());
    label->setFont(UIFont::fontWithName(kHelveticaBold, 15));
    labelsBackgroundView_->addSubview(label);
  }
  // Centred and stacked on the band's bottom edge; the labels are as wide as their text.
  NSLayoutConstraint::activateConstraints({
      surveyTitle_->bottomAnchor().constraintEqualToAnchor(surveySubTitle_->topAnchor(), -1),
      surveyTitle_->centerXAnchor().constraintEqualToAnchor(labelsBackgroundView_->centerXAnchor()),
      surveySubTitle_->bottomAnchor().constraintEqualToAnchor(labelsBackgroundView_->bottomAnchor(),
                                                              -5),
      surveySubTitle_->centerXAnchor().constraintEqualToAnchor(
          labelsBackgroundView_->centerXAnchor()),
  });
}

void VLQSurveyDialogView::addButtonsToBackgroundViewWithConstraints() {
  putButtonsInBand(*buttonsBackgroundView_, surveyYesButton_, surveyNoButton_, 3.5);
  const auto& band = buttonsBackgroundView_;
  // No top anchor of their own: decline sits 5 above the band's bottom, accept 7 above decline,
  // each at least 0.38 of the band high.
  NSLayoutConstraint::activateConstraints({
      surveyYesButton_->heightAnchor().constraintGreaterThanOrEqualToAnchor(band->heightAnchor(),
                                                                            Multiplier{0.38}),
      surveyYesButton_->leadingAnchor().constraintEqualToAnchor(band->leadingAnchor(), 10),
      surveyYesButton_->trailingAnchor().constraintEqualToAnchor(band->trailingAnchor(), -10),
      surveyNoButton_->topAnchor().constraintEqualToAnchor(surveyYesButton_->bottomAnchor(), 7),
      surveyNoButton_->heightAnchor().constraintGreaterThanOrEqualToAnchor(band->heightAnchor(),
                                                                           Multiplier{0.38}),
      surveyNoButton_->trailingAnchor().constraintEqualToAnchor(band->trailingAnchor(), -10),
      surveyNoButton_->leadingAnchor().constraintEqualToAnchor(band->leadingAnchor(), 10),
      surveyNoButton_->bottomAnchor().constraintEqualToAnchor(band->bottomAnchor(), -5),
  });
}

void VLQSurveyDialogView::addRoundButtons() {
  putButtonsInBand(*buttonsBackgroundView_, surveyYesButton_, surveyNoButton_, 50);
  const auto& band = buttonsBackgroundView_;
  // Accept's centre is pinned to the band's middle; decline's is only bounded by it. Accept
  // comes first in the reading direction: at the left, or at the right in a right-to-left look.
  const bool mirrored = look_.isRightToLeft();
  NSLayoutConstraint::activateConstraints({
      surveyYesButton_->centerYAnchor().constraintEqualToAnchor(band->centerYAnchor()),
      surveyYesButton_->heightAnchor().constraintEqualToConstant(100),
      surveyYesButton_->widthAnchor().constraintEqualToConstant(100),
      mirrored
          ? surveyYesButton_->leadingAnchor().constraintEqualToAnchor(band->centerXAnchor(), 20)
          : surveyYesButton_->trailingAnchor().constraintEqualToAnchor(band->centerXAnchor(), -20),
      surveyNoButton_->centerYAnchor().constraintLessThanOrEqualToAnchor(band->centerYAnchor()),
      surveyNoButton_->heightAnchor().constraintEqualToConstant(100),
      surveyNoButton_->widthAnchor().constraintEqualToConstant(100),
      mirrored
          ? surveyNoButton_->trailingAnchor().constraintEqualToAnchor(band->centerXAnchor(), -20)
          : surveyNoButton_->leadingAnchor().constraintEqualToAnchor(band->centerXAnchor(), 20),
  });
  // Decline's centre is only bounded above, which leaves it free to sit anywhere higher. The
  // weakest of preferences settles it on the bound, level with accept, without ever overriding
  // the bound itself.
  auto level = surveyNoButton_->centerYAnchor().constraintEqualToAnchor(band->centerYAnchor());
  level->setPriority(UILayoutPriorityFittingSizeLevel);
  level->setActive(true);
}

void VLQSurveyDialogView::roundButtons() {
  buttonsBackgroundView_->addSubview(surveyYesButton_);
  buttonsBackgroundView_->addSubview(surveyNoButton_);
  for (const auto& button : {surveyYesButton_, surveyNoButton_}) {
    button->layer().setCornerRadius(50);
    button->setClipsToBounds(true);
  }
  NSLayoutConstraint::activateConstraints({
      surveyYesButton_->bottomAnchor().constraintEqualToAnchor(stackView_->bottomAnchor(), -30),
      surveyYesButton_->leadingAnchor().constraintEqualToAnchor(stackView_->leadingAnchor(), 30),
      surveyYesButton_->heightAnchor().constraintEqualToConstant(100),
      surveyYesButton_->widthAnchor().constraintEqualToConstant(100),
      surveyNoButton_->bottomAnchor().constraintEqualToAnchor(stackView_->bottomAnchor(), -30),
      surveyNoButton_->trailingAnchor().constraintEqualToAnchor(stackView_->trailingAnchor(), -30),
      surveyNoButton_->heightAnchor().constraintEqualToConstant(100),
      surveyNoButton_->widthAnchor().constraintEqualToConstant(100),
  });
}

void VLQSurveyDialogView::roundCornersButton() {
  buttonsBackgroundView_->addSubview(surveyYesButton_);
  buttonsBackgroundView_->addSubview(surveyNoButton_);
  surveyNoButton_->layer().setCornerRadius(5);
  NSLayoutConstraint::activateConstraints({
      surveyYesButton_->centerXAnchor().constraintEqualToAnchor(centerXAnchor()),
      surveyYesButton_->heightAnchor().constraintEqualToConstant(50),
      surveyNoButton_->centerXAnchor().constraintEqualToAnchor(surveyYesButton_->centerXAnchor()),
      surveyNoButton_->heightAnchor().constraintEqualToConstant(50),
  });
}

bool VLQSurveyDialogView::usesRoundButtons() const {
  return !(isRoundButton_.is_boolean() && !isRoundButton_.get<bool>());
}

void VLQSurveyDialogView::layoutSubviews() {
  UIView::layoutSubviews();
  surveyImageView_->layer().setCornerRadius(surveyImageView_->frame().height() / 2);
  if (usesRoundButtons()) {
    addRoundButtons();
  } else {
    addButtonsToBackgroundViewWithConstraints();
  }
}

void VLQSurveyDialogView::yesButtonTapped(UIButton*) {
  try {
    if (surveyPlugin_) surveyPlugin_->willShowSurvey();
    logTap("vlq_surevy_dialog_yes_clicked");
  } catch (...) {
    // A failed tap ends quietly; the host application carries on.
  }
}

void VLQSurveyDialogView::noButtonTapped(UIButton*) {
  try {
    if (surveyPlugin_) surveyPlugin_->willDismissSurvey();
    logTap("vlq_surevy_dialog_no_clicked");
  } catch (...) {
    // As for accept.
  }
}

void VLQSurveyDialogView::applyAppearance(const VLQAppearance& appearance) {
  look_ = SurveyLook(appearance);
  const auto& palette = look_.palette();
  setBackgroundColor(palette.dialogCard);
  for (const auto& label : {surveyTitle_, surveySubTitle_}) {
    label->setTextColor(palette.dialogText);
    label->setFont(look_.font(kHelveticaBold, 15));
    if (look_.textScale() != 1.0) label->setNumberOfLines(0);
  }
  surveyYesButton_->setBackgroundColor(palette.yesButton);
  surveyYesButton_->setTitleColor(palette.yesText, UIControlState::Normal);
  surveyNoButton_->setBackgroundColor(palette.noButton);
  surveyNoButton_->setTitleColor(palette.noText, UIControlState::Normal);
  surveyNoButton_->layer().setBorderColor(palette.noBorder);
  if (look_.textScale() != 1.0) {
    for (const auto& button : {surveyYesButton_, surveyNoButton_}) {
      if (const auto& title = button->titleLabel()) {
        title->setFont(
            toolkit::UIFont::systemFontOfSize(look_.fontSize(UILabel::kDefaultFontSize)));
      }
    }
  }
}

bool VLQSurveyDialogView::accessibilityPerformEscape() {
  return toolkit::pressShownElement(surveyNoButton_);
}

void VLQSurveyDialogView::logTap(const char* eventName) const {
  // The event's info cannot be built without a survey id; the tap then logs nothing.
  if (!surveyId_) return;
  VLQController::sharedController()->logAppEventWithName(eventName,
                                                         Json{{"survey_id", *surveyId_}});
}

}  // namespace vlq::ui
