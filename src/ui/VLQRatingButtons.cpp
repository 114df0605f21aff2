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
    set->buttons_.push_back(std::move(button));
  }
  set->describeLevels(session::englishTexts());
  return set;
}

void VLQRatingButtons::describeLevels(const session::BuiltInTexts& texts) {
  for (std::size_t level = 0; level < buttons_.size(); ++level) {
    buttons_[level]->setAccessibilityLabel(
        session::fillIn(texts.ratingOf, static_cast<std::int64_t>(level + 1),
                        static_cast<std::int64_t>(kRatingLevelLooks.size())));
  }
}

}  // namespace vlq::ui
