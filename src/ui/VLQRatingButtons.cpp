#include "ui/VLQRatingButtons.h"

#include <string>

#include <vlq/toolkit/UIImage.h>

#include "ui/RatingLevels.h"

namespace vlq::ui {

std::shared_ptr<VLQRatingButtons> VLQRatingButtons::init() {
  auto set = std::make_shared<VLQRatingButtons>();
  for (std::uint64_t level = 0; level < kRatingLevelLooks.size(); ++level) {
    auto button = VLQRatingButton::initWithType(level);
    button->setTranslatesAutoresizingMaskIntoConstraints(false);
    button->setImage(toolkit::UIImage::imageNamed(kRatingLevelLooks[level].unselectedImage),
                     toolkit::UIControlState::Normal);
    button->setAccessibilityLabel("Rating " + std::to_string(level + 1) + " of " +
                                  std::to_string(kRatingLevelLooks.size()));
    set->buttons_.push_back(std::move(button));
  }
  return set;
}

}  // namespace vlq::ui
