#include "ui/VLQRatingButton.h"

#include <string>

#include "toolkit/UIImage.h"
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
  if (selected) {
    setBackgroundColor(look->selectedBackground);
    setImage(UIImage::imageNamed(look->selectedImage), UIControlState::Normal);
  } else {
    setBackgroundColor(UIColor::whiteColor());
    setImage(UIImage::imageNamed(look->unselectedImage), UIControlState::Normal);
  }
}

}  // namespace vlq::ui
