#pragma once

// A push button of the custom type: a title, an image and a background image for each control
// state, shown by a title label, an image view and a background image view that the button makes
// at construction and lays out itself.
//
// A state without a value of its own shows Normal's; a combined state (selected and highlighted)
// has a value of its own only where one was set for exactly that combination. The button, not its
// parts, takes the touches.

#include <map>
#include <memory>
#include <optional>
#include <string>

#include <vlq/Export.h>
#include <vlq/toolkit/UIControl.h>
#include <vlq/toolkit/UIImage.h>
#include <vlq/toolkit/UIImageView.h>
#include <vlq/toolkit/UILabel.h>

namespace vlq::toolkit {

class VLQ_API UIButton : public UIControl {
 public:
  UIButton() : UIButton(CGRectZero) {}
  explicit UIButton(CGRect frame);

  // Per-state values; setting nothing removes the state's own value.
  void setTitle(std::optional<std::string> title, UIControlState state);
  std::optional<std::string> titleForState(UIControlState state) const;
  void setTitleColor(std::optional<UIColor> color, UIControlState state);
  // White for Normal unless set.
  UIColor titleColorForState(UIControlState state) const;
  void setImage(std::shared_ptr<UIImage> image, UIControlState state);
  std::shared_ptr<UIImage> imageForState(UIControlState state) const;
  void setBackgroundImage(std::shared_ptr<UIImage> image, UIControlState state);
  std::shared_ptr<UIImage> backgroundImageForState(UIControlState state) const;

  // The values for the current state.
  std::optional<std::string> currentTitle() const { return titleForState(state()); }
  UIColor currentTitleColor() const { return titleColorForState(state()); }
  std::shared_ptr<UIImage> currentImage() const { return imageForState(state()); }
  std::shared_ptr<UIImage> currentBackgroundImage() const {
    return backgroundImageForState(state());
  }

  // The parts: a centred label in the system font of 15 points that truncates in the middle, and
  // an image view. The button sets their text, colour and image from the current state.
  const std::shared_ptr<UILabel>& titleLabel() const { return titleLabel_; }
  const std::shared_ptr<UIImageView>& imageView() const { return imageView_; }

  // Space between the bounds and the content (zero until set).
  UIEdgeInsets contentEdgeInsets() const { return contentEdgeInsets_; }
  void setContentEdgeInsets(UIEdgeInsets insets);

  // The image and the title side by side, plus the content insets.
  CGSize intrinsicContentSize() const override;
  // The background image fills the bounds; the image and, right of it, the title are centred
  // together inside the content insets.
  void layoutSubviews() override;
  // A touch on one of the button's own parts is a touch on the button.
  std::shared_ptr<UIView> hitTest(CGPoint point) override;

  static constexpr double kTitleFontSize = 15;

 protected:
  void controlStateDidChange() override;
  // An element labelled by its current title, with the button trait.
  bool defaultIsAccessibilityElement() const override { return true; }
  std::optional<std::string> defaultAccessibilityLabel() const override;
  UIAccessibilityTraits defaultAccessibilityTraits() const override {
    return UIAccessibilityTraits::Button;
  }

 private:
  template <class Value>
  static std::optional<Value> lookUp(const std::map<unsigned, Value>& values, UIControlState state);
  // Shows the current state's values in the parts.
  void updateParts();
  void contentChanged();
  CGSize titleSize(double availableWidth) const;
  CGSize imageSize() const;

  std::map<unsigned, std::string> titles_;
  std::map<unsigned, UIColor> titleColors_;
  std::map<unsigned, std::shared_ptr<UIImage>> images_;
  std::map<unsigned, std::shared_ptr<UIImage>> backgroundImages_;
  UIEdgeInsets contentEdgeInsets_;
  std::shared_ptr<UIImageView> backgroundView_;
  std::shared_ptr<UIImageView> imageView_;
  std::shared_ptr<UILabel> titleLabel_;
};

}  // namespace vlq::toolkit
