#pragma once

// A bar that shows how far something has got: a track across the bounds and, over it from the
// leading edge, a filled part as long as the progress. Both have fully rounded ends.

#include <optional>

#include <vlq/Export.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

class VLQ_API UIProgressView : public UIView {
 public:
  UIProgressView() : UIProgressView(CGRectZero) {}
  explicit UIProgressView(CGRect frame) : UIView(frame) {}

  // From 0 to 1; values outside are clamped, and a value that is not a number counts as 0.
  float progress() const { return progress_; }
  void setProgress(float progress);
  // The toolkit shows the new value at once; `animated` is for a renderer that moves the bar.
  void setProgress(float progress, bool animated);

  // The colour of the filled part: the progress tint when set, else the tint colour.
  std::optional<UIColor> progressTintColor() const { return progressTintColor_; }
  void setProgressTintColor(std::optional<UIColor> color);
  // The system blue until set; setting nothing restores it.
  UIColor tintColor() const { return tintColor_; }
  void setTintColor(std::optional<UIColor> color);
  // The colour of the track: the track tint when set, else a translucent light grey.
  std::optional<UIColor> trackTintColor() const { return trackTintColor_; }
  void setTrackTintColor(std::optional<UIColor> color);
  // Whether the bar fills from its right edge, as in a right-to-left language (false by default).
  bool fillsFromRight() const { return fillsFromRight_; }
  void setFillsFromRight(bool fromRight);
  // The colours drawn.
  UIColor effectiveProgressColor() const { return progressTintColor_.value_or(tintColor_); }
  UIColor effectiveTrackColor() const { return trackTintColor_.value_or(kDefaultTrack); }

  // 4 points tall; no width of its own.
  CGSize intrinsicContentSize() const override { return {UIViewNoIntrinsicMetric, kBarHeight}; }
  void drawContent(DrawingContext& context) const override;

  static constexpr double kBarHeight = 4;
  static constexpr UIColor kDefaultTint = UIColor::rgb255(0, 122, 255);
  // The platform's fill grey: about 0.91 white over a white background.
  static constexpr UIColor kDefaultTrack = UIColor::rgb255(120, 120, 128, 0.2);

 protected:
  // An element whose value is the progress in whole percent ("40%"), updating frequently.
  bool defaultIsAccessibilityElement() const override { return true; }
  std::optional<std::string> defaultAccessibilityValue() const override;
  UIAccessibilityTraits defaultAccessibilityTraits() const override {
    return UIAccessibilityTraits::UpdatesFrequently;
  }

 private:
  float progress_ = 0;
  std::optional<UIColor> progressTintColor_;
  UIColor tintColor_ = kDefaultTint;
  std::optional<UIColor> trackTintColor_;
  bool fillsFromRight_ = false;
};

}  // namespace vlq::toolkit
