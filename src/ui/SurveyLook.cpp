#include "ui/SurveyLook.h"

#include "ui/SuccessCard.h"
#include "ui/VLQOtherOptionCell.h"
#include "ui/VLQSurveyDialogView.h"
#include "ui/VLQSurveyOptionCell.h"

namespace vlq::ui {

using toolkit::UIColor;

const SurveyPalette& lightPalette() {
  static const SurveyPalette palette{
      .page = UIColor::whiteColor(),
      .questionText = UIColor::blackColor(),
      .skipText = UIColor::lightGrayColor(),
      .submitBackground = UIColor::rgb255(86, 150, 252),
      .submitText = UIColor::whiteColor(),
      .progressTint = UIColor::rgb255(91, 168, 41),
      .progressTrack = UIColor::rgb255(229, 229, 234),
      .optionCard = UIColor::whiteColor(),
      .optionBorder = UIColor::lightGrayColor(),
      .optionFreshText = VLQSurveyOptionCell::kFreshTextColor,
      .optionUnselectedText = VLQSurveyOptionCell::kUnselectedTextColor,
      .optionSelectedCard = VLQSurveyOptionCell::kSelectedCardColor,
      .optionSelectedText = UIColor::whiteColor(),
      .otherCard = VLQOtherOptionCell::kCardColor,
      .otherField = UIColor::whiteColor(),
      .otherText = UIColor::blackColor(),
      .otherPlaceholder = UIColor::lightGrayColor(),
      .ratingButton = UIColor::whiteColor(),
      .successCard = kSuccessCardColor,
      .successText = UIColor::blackColor(),
      .dialogCard = UIColor::rgb255(232, 232, 232),
      .dialogText = UIColor::lightGrayColor(),
      .yesButton = VLQSurveyDialogView::kYesColor,
      .yesText = VLQSurveyDialogView::kYesTitleColor,
      .noButton = VLQSurveyDialogView::kNoColor,
      .noText = VLQSurveyDialogView::kNoTitleColor,
      .noBorder = VLQSurveyDialogView::kNoBorderColor,
  };
  return palette;
}

// Near-black surfaces a step apart, light grey texts, and the accent colours darkened until white
// text on them reads at 4.5:1 or more.
const SurveyPalette& darkPalette() {
  static const SurveyPalette palette{
      .page = UIColor::rgb255(28, 28, 30),
      .questionText = UIColor::rgb255(242, 242, 247),
      .skipText = UIColor::rgb255(174, 174, 178),
      .submitBackground = UIColor::rgb255(10, 95, 200),
      .submitText = UIColor::whiteColor(),
      .progressTint = UIColor::rgb255(76, 175, 80),
      .progressTrack = UIColor::rgb255(58, 58, 60),
      .optionCard = UIColor::rgb255(44, 44, 46),
      .optionBorder = UIColor::rgb255(99, 99, 102),
      .optionFreshText = UIColor::rgb255(209, 209, 214),
      .optionUnselectedText = UIColor::rgb255(174, 174, 178),
      .optionSelectedCard = UIColor::rgb255(170, 45, 56),
      .optionSelectedText = UIColor::whiteColor(),
      .otherCard = UIColor::rgb255(44, 44, 46),
      .otherField = UIColor::rgb255(58, 58, 60),
      .otherText = UIColor::rgb255(242, 242, 247),
      .otherPlaceholder = UIColor::rgb255(174, 174, 178),
      .ratingButton = UIColor::rgb255(72, 72, 74),
      .successCard = UIColor::rgb255(44, 44, 46),
      .successText = UIColor::rgb255(242, 242, 247),
      .dialogCard = UIColor::rgb255(44, 44, 46),
      .dialogText = UIColor::rgb255(209, 209, 214),
      .yesButton = UIColor::rgb255(46, 125, 50),
      .yesText = UIColor::whiteColor(),
      .noButton = UIColor::rgb255(58, 58, 60),
      .noText = UIColor::rgb255(229, 229, 234),
      .noBorder = UIColor::rgb255(99, 99, 102),
  };
  return palette;
}

SurveyLook::SurveyLook(const VLQAppearance& appearance)
    : appearance_(appearance),
      palette_(appearance.isDark() ? &darkPalette() : &lightPalette()),
      texts_(&session::builtInTextsFor(appearance.locale)),
      rightToLeft_(appearance.isRightToLeft()),
      textScale_(appearance.clampedTextScale()) {}

std::shared_ptr<const toolkit::UIFont> SurveyLook::font(std::string_view name,
                                                        double points) const {
  return toolkit::UIFont::fontWithName(name, fontSize(points));
}

}  // namespace vlq::ui
