#include "ui/VLQRatingButton.h"

#include <string>

#include <vlq/toolkit/UIImage.h>

#include "ui/RatingLevels.h"

namespace vlq::ui {

using toolkit::UIColor;
using toolkit::UIControlState;
using toolkit::UIImage;

std::shared_ptr<VLQRatingButton> VLQRatingButton::initWithType(std::uint64_t ratingType) {
  auto button = std::make_shared<VLQRatingButton>();
  button->setRatingType(ratingType);
  return button;
}

void VLQRatingButton::setSelected(bool selected) {
  const auto look = ratingLevelLook(ratingType_);
  if (!look) return;
  showsSelected_ = selected;
  if (selected) {
    setBackgroundColor(look->selectedBackground);
    setImage(UIImage::imageNamed(look->selectedImage), UIControlState::Normal);
  } else {
    setBackgroundColor(unselectedBackground_);
    setImage(UIImage::imageNamed(look->unselectedImage), UIControlState::Normal);
  }
}

void VLQRatingButton::setUnselectedBackground(toolkit::UIColor color) {
  unselectedBackground_ = color;
  if (!showsSelected_) setBackgroundColor(color);
}

toolkit::UIAccessibilityTraits VLQRatingButton::accessibilityStateTraits() const {
  const auto traits = UIButton::accessibilityStateTraits();
  return showsSelected_ ? traits | toolkit::UIAccessibilityTraits::Selected : traits;
}

}  // namespace vlq::ui
