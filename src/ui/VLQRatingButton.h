#pragma once

// One round smiley button of the rating row. Its selected look is carried by its normal-state
// image and its background colour alone: setSelected restyles it by its level and never touches
// the control's own selected state, so per-state images are never used.

#include <cstdint>
#include <memory>

#include <vlq/toolkit/UIButton.h>

namespace vlq::ui {

class VLQRatingButton : public toolkit::UIButton {
 public:
  VLQRatingButton() = default;
  // A plain button of the given level; no colour, image or border yet.
  static std::shared_ptr<VLQRatingButton> initWithType(std::uint64_t ratingType);

  std::uint64_t ratingType() const { return ratingType_; }
  void setRatingType(std::uint64_t ratingType) { ratingType_ = ratingType; }

  // Selected: the level's colour and selected image; not selected: white and the unselected
  // image. A level outside 0 to 4 changes nothing.
  void setSelected(bool selected) override;
  // The disc's colour while not selected (white unless set).
  void setUnselectedBackground(toolkit::UIColor color);

 protected:
  // Selected for assistive technology while it shows the selected look.
  toolkit::UIAccessibilityTraits accessibilityStateTraits() const override;

 private:
  std::uint64_t ratingType_ = 0;
  bool showsSelected_ = false;
  toolkit::UIColor unselectedBackground_ = toolkit::UIColor::whiteColor();
};

}  // namespace vlq::ui
