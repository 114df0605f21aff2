#pragma once

// The survey's look for one appearance: the colours of every surface and text, the scale of the
// fonts and the plug-in's own texts. The light palette is the plug-in's own colours; the dark one
// keeps every text at 4.5:1 contrast or more against what it is drawn on.

#include <memory>
#include <string_view>

#include <vlq/host/VLQAppearance.h>
#include <vlq/toolkit/UIColor.h>
#include <vlq/toolkit/UIFont.h>

#include "session/BuiltInTexts.h"

namespace vlq::ui {

struct SurveyPalette {
  toolkit::UIColor page;              // the page, its table and the question header
  toolkit::UIColor questionText;      // the question's title
  toolkit::UIColor skipText;          // "Skip"
  toolkit::UIColor submitBackground;  // the large button
  toolkit::UIColor submitText;
  toolkit::UIColor progressTint;
  toolkit::UIColor progressTrack;
  toolkit::UIColor optionCard;  // a choice row's card, fresh
  toolkit::UIColor optionBorder;
  toolkit::UIColor optionFreshText;
  toolkit::UIColor optionUnselectedText;  // after a row was deselected
  toolkit::UIColor optionSelectedCard;
  toolkit::UIColor optionSelectedText;
  toolkit::UIColor otherCard;         // the Other row's card
  toolkit::UIColor otherField;        // its text field
  toolkit::UIColor otherText;         // typed text
  toolkit::UIColor otherPlaceholder;  // the choice's text or the instruction, before typing
  toolkit::UIColor ratingButton;      // an unselected smiley's disc
  toolkit::UIColor successCard;
  toolkit::UIColor successText;
  toolkit::UIColor dialogCard;  // the invitation
  toolkit::UIColor dialogText;
  toolkit::UIColor yesButton;
  toolkit::UIColor yesText;
  toolkit::UIColor noButton;
  toolkit::UIColor noText;
  toolkit::UIColor noBorder;
};

class SurveyLook {
 public:
  SurveyLook() : SurveyLook(VLQAppearance{}) {}
  explicit SurveyLook(const VLQAppearance& appearance);

  const VLQAppearance& appearance() const { return appearance_; }
  const SurveyPalette& palette() const { return *palette_; }
  const session::BuiltInTexts& texts() const { return *texts_; }
  bool isDark() const { return appearance_.isDark(); }
  bool isRightToLeft() const { return rightToLeft_; }
  double textScale() const { return textScale_; }
  // The plug-in's own look: light, scale 1.0, left to right (its texts may be of any language).
  bool isPlain() const { return !isDark() && textScale_ == 1.0 && !rightToLeft_; }

  // A size in points for text, scaled.
  double fontSize(double points) const { return points * textScale_; }
  // The named font at the scaled size.
  std::shared_ptr<const toolkit::UIFont> font(std::string_view name, double points) const;

 private:
  VLQAppearance appearance_;
  const SurveyPalette* palette_;
  const session::BuiltInTexts* texts_;
  bool rightToLeft_;
  double textScale_;
};

const SurveyPalette& lightPalette();
const SurveyPalette& darkPalette();

}  // namespace vlq::ui
