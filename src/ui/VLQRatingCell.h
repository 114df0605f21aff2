#pragma once

// The table row of a rating question: five round smiley buttons side by side, each centred in
// its fifth of the row. Pressing one selects it, deselects the other four and reports its level
// to the row's delegate (held weakly). The row takes part in RatingTapped without acting on it:
// the delegate is the one that implements it.

#include <cstdint>
#include <memory>
#include <string>

#include <vlq/toolkit/UIStackView.h>
#include <vlq/toolkit/UITableViewCell.h>

#include "ui/RatingTapped.h"
#include "ui/SurveyLook.h"
#include "ui/VLQRatingButton.h"
#include "ui/VLQRatingButtons.h"

namespace vlq::ui {

class VLQRatingCell : public toolkit::UITableViewCell, public RatingTapped {
 public:
  VLQRatingCell(toolkit::UITableViewCellStyle style, std::string reuseIdentifier);
  static std::shared_ptr<VLQRatingCell> initWithStyle(toolkit::UITableViewCellStyle style,
                                                      std::string reuseIdentifier);

  // Rounds the buttons into circles and the slots into capsules from their current frames.
  void layoutSubviews() override;
  // The buttons' names in `look`'s language, their discs in its colours, and in a right-to-left
  // look the lowest level at the right, the leading edge.
  void setLook(const SurveyLook& look);

  // Selects `sender`, deselects the others, then reports the level to the delegate.
  void buttonPressed(VLQRatingButton* sender);
  // Reports the level of `sender` to the delegate; connected to no event.
  void buttonTouchDown(VLQRatingButton* sender);

  std::shared_ptr<toolkit::NSObject> ratingDelegate() const { return ratingDelegate_.lock(); }
  void setRatingDelegate(toolkit::WeakRef<toolkit::NSObject> delegate) {
    ratingDelegate_ = std::move(delegate);
  }

  const std::shared_ptr<VLQRatingButtons>& ratingButtons() const { return ratingButtons_; }
  void setRatingButtons(std::shared_ptr<VLQRatingButtons> buttons) {
    ratingButtons_ = std::move(buttons);
  }
  const std::shared_ptr<VLQRatingButton>& buttonPoor() const { return buttonPoor_; }
  void setButtonPoor(std::shared_ptr<VLQRatingButton> button) { buttonPoor_ = std::move(button); }
  const std::shared_ptr<VLQRatingButton>& buttonAverage() const { return buttonAverage_; }
  void setButtonAverage(std::shared_ptr<VLQRatingButton> button) {
    buttonAverage_ = std::move(button);
  }
  const std::shared_ptr<VLQRatingButton>& buttonGood() const { return buttonGood_; }
  void setButtonGood(std::shared_ptr<VLQRatingButton> button) { buttonGood_ = std::move(button); }
  const std::shared_ptr<VLQRatingButton>& buttonSuper() const { return buttonSuper_; }
  void setButtonSuper(std::shared_ptr<VLQRatingButton> button) { buttonSuper_ = std::move(button); }
  const std::shared_ptr<VLQRatingButton>& buttonFantastic() const { return buttonFantastic_; }
  void setButtonFantastic(std::shared_ptr<VLQRatingButton> button) {
    buttonFantastic_ = std::move(button);
  }

  const std::shared_ptr<toolkit::UIView>& buttonPoorBgView() const { return buttonPoorBgView_; }
  void setButtonPoorBgView(std::shared_ptr<toolkit::UIView> view) {
    buttonPoorBgView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIView>& buttonAvgBgView() const { return buttonAvgBgView_; }
  void setButtonAvgBgView(std::shared_ptr<toolkit::UIView> view) {
    buttonAvgBgView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIView>& buttonGoodBgView() const { return buttonGoodBgView_; }
  void setButtonGoodBgView(std::shared_ptr<toolkit::UIView> view) {
    buttonGoodBgView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIView>& buttonSuperBgView() const { return buttonSuperBgView_; }
  void setButtonSuperBgView(std::shared_ptr<toolkit::UIView> view) {
    buttonSuperBgView_ = std::move(view);
  }
  const std::shared_ptr<toolkit::UIView>& buttonFantasticBgView() const {
    return buttonFantasticBgView_;
  }
  void setButtonFantasticBgView(std::shared_ptr<toolkit::UIView> view) {
    buttonFantasticBgView_ = std::move(view);
  }

  // Declared by the row's interface and never created or used.
  const std::shared_ptr<toolkit::UIView>& bgView() const { return bgView_; }
  void setBgView(std::shared_ptr<toolkit::UIView> view) { bgView_ = std::move(view); }
  bool ispoorHighlighted() const { return ispoorHighlighted_; }
  void setIspoorHighlighted(bool highlighted) { ispoorHighlighted_ = highlighted; }

  // The buttons' size in points.
  static constexpr double kButtonSize = 60.0;

 private:
  void reportLevel(std::uint64_t level) const;

  std::shared_ptr<VLQRatingButtons> ratingButtons_;
  std::shared_ptr<VLQRatingButton> buttonPoor_;
  std::shared_ptr<VLQRatingButton> buttonAverage_;
  std::shared_ptr<VLQRatingButton> buttonGood_;
  std::shared_ptr<VLQRatingButton> buttonSuper_;
  std::shared_ptr<VLQRatingButton> buttonFantastic_;
  std::shared_ptr<toolkit::UIView> buttonPoorBgView_;
  std::shared_ptr<toolkit::UIView> buttonAvgBgView_;
  std::shared_ptr<toolkit::UIView> buttonGoodBgView_;
  std::shared_ptr<toolkit::UIView> buttonSuperBgView_;
  std::shared_ptr<toolkit::UIView> buttonFantasticBgView_;
  toolkit::WeakRef<toolkit::NSObject> ratingDelegate_;
  std::shared_ptr<toolkit::UIView> bgView_;
  bool ispoorHighlighted_ = false;
  std::shared_ptr<toolkit::UIStackView> stack_;
  bool rightToLeft_ = false;
};

}  // namespace vlq::ui
