#include "ui/VLQSurveyOptionCell.h"

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/NSLayoutConstraint.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UIImage.h>

#include "ui/JsonText.h"

namespace vlq::ui {

using namespace toolkit;

namespace {

// The font the row asks for. The name is misspelt, so no such font exists and the label keeps
// the toolkit's default font; the request is made all the same.
constexpr std::string_view kOptionFontName = "HleveticaNeue-Medium";
constexpr double kOptionFontSize = 16.0;

}  // namespace

VLQSurveyOptionCell::VLQSurveyOptionCell(UITableViewCellStyle style, std::string reuseIdentifier)
    : UITableViewCell(style, std::move(reuseIdentifier)) {
  bgView_ = std::make_shared<UIView>();
  bgView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  bgView_->layer().setBorderColor(palette_->optionBorder);
  bgView_->layer().setBorderWidth(2.0);
  setSelectionStyle(UITableViewCellSelectionStyle::None);
  bgView_->setBackgroundColor(palette_->optionCard);
  addSubview(bgView_);

  smileyImageView_ = std::make_shared<UIImageView>();
  smileyImageView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  smileyImageView_->setImage(UIImage::imageNamed(kRadioImageString));
  bgView_->addSubview(smileyImageView_);

  optionLabel_ = std::make_shared<UILabel>();
  optionLabel_->setTranslatesAutoresizingMaskIntoConstraints(false);
  // A font that does not exist leaves the label's font as it is.
  if (auto font = UIFont::fontWithName(kOptionFontName, kOptionFontSize)) {
    optionLabel_->setFont(std::move(font));
  }
  optionLabel_->setTextColor(palette_->optionFreshText);
  optionLabel_->setText("Execeded Expectations");
  optionLabel_->setUserInteractionEnabled(false);
  bgView_->addSubview(optionLabel_);

  sideConstraints_ = {
      smileyImageView_->leadingAnchor().constraintEqualToAnchor(bgView_->leadingAnchor(), 15.0),
      optionLabel_->leadingAnchor().constraintEqualToAnchor(smileyImageView_->trailingAnchor(),
                                                            15.0),
      optionLabel_->trailingAnchor().constraintEqualToAnchor(bgView_->trailingAnchor(), -5.0),
  };
  NSLayoutConstraint::activateConstraints({
      smileyImageView_->heightAnchor().constraintEqualToConstant(25.0),
      smileyImageView_->widthAnchor().constraintEqualToConstant(25.0),
      sideConstraints_[0],
      smileyImageView_->centerYAnchor().constraintEqualToAnchor(bgView_->centerYAnchor()),
      sideConstraints_[1],
      sideConstraints_[2],
      optionLabel_->centerYAnchor().constraintEqualToAnchor(bgView_->centerYAnchor()),
      bgView_->leadingAnchor().constraintEqualToAnchor(leadingAnchor(), 10.0),
      bgView_->trailingAnchor().constraintEqualToAnchor(trailingAnchor(), -10.0),
      bgView_->topAnchor().constraintEqualToAnchor(topAnchor(), 10.0),
      bgView_->bottomAnchor().constraintEqualToAnchor(bottomAnchor(), -10.0),
  });
  bgView_->layer().setCornerRadius(5.0);
  // Read as its choice's text; a press selects it as a tap does.
  setAccessibilityTraits(UIAccessibilityTraits::Button);
}

std::shared_ptr<VLQSurveyOptionCell> VLQSurveyOptionCell::initWithStyle(
    UITableViewCellStyle style, std::string reuseIdentifier) {
  return std::make_shared<VLQSurveyOptionCell>(style, std::move(reuseIdentifier));
}

void VLQSurveyOptionCell::setSelected(bool selected) {
  show(selected ? Shows::Selected : Shows::Deselected);
}

void VLQSurveyOptionCell::prepareForReuse() {
  UITableViewCell::prepareForReuse();
  // A recycled row starts with the fresh look, not the look of the choice it showed before.
  show(Shows::Fresh);
}

void VLQSurveyOptionCell::show(Shows state) {
  if (state == Shows::Selected) {
    bgView_->setBackgroundColor(palette_->optionSelectedCard);
    bgView_->layer().setBorderColor(UIColor::whiteColor());
    optionLabel_->setTextColor(palette_->optionSelectedText);
    // The cell's own layer, not the card's.
    layer().setBorderColor(UIColor::clearColor());
    smileyImageView_->setImage(UIImage::imageNamed(kRadioHighLightString));
    return;
  }
  if (state == Shows::Fresh) bgView_->setBackgroundColor(palette_->optionCard);
  bgView_->layer().setBorderColor(palette_->optionBorder);
  bgView_->layer().setBorderWidth(2.0);
  optionLabel_->setTextColor(state == Shows::Fresh ? palette_->optionFreshText
                                                   : palette_->optionUnselectedText);
  if (state == Shows::Deselected) bgView_->setBackgroundColor(palette_->optionCard);
  smileyImageView_->setImage(UIImage::imageNamed(kRadioImageString));
}

void VLQSurveyOptionCell::setLook(const SurveyLook& look) {
  if (palette_ != &look.palette()) {
    palette_ = &look.palette();
    show(Shows::Fresh);
  }
  if (look.textScale() != 1.0) {
    optionLabel_->setFont(UIFont::systemFontOfSize(look.fontSize(UILabel::kDefaultFontSize)));
    optionLabel_->setNumberOfLines(0);
  }
  if (look.isDark()) setBackgroundColor(look.palette().page);
  if (look.isRightToLeft() && !rightToLeft_) {
    // The radio image moves to the right edge, the text to its left, right-aligned.
    rightToLeft_ = true;
    NSLayoutConstraint::deactivateConstraints(sideConstraints_);
    sideConstraints_ = {
        smileyImageView_->trailingAnchor().constraintEqualToAnchor(bgView_->trailingAnchor(),
                                                                   -15.0),
        optionLabel_->trailingAnchor().constraintEqualToAnchor(smileyImageView_->leadingAnchor(),
                                                               -15.0),
        optionLabel_->leadingAnchor().constraintEqualToAnchor(bgView_->leadingAnchor(), 5.0),
    };
    NSLayoutConstraint::activateConstraints(sideConstraints_);
    optionLabel_->setTextAlignment(NSTextAlignment::Right);
  }
}

void VLQSurveyOptionCell::enableWithData(const std::shared_ptr<VLQChoiceModel>& choice) {
  optionLabel_->setText(choice ? displayText(choice->surveyValue()) : std::nullopt);
}

}  // namespace vlq::ui
