#include <algorithm>
#include <cmath>
#include <string>

#include <vlq/toolkit/DrawingContext.h>
#include <vlq/toolkit/UIProgressView.h>

namespace vlq::toolkit {

void UIProgressView::setProgress(float progress) {
  const float clamped = std::isnan(progress) ? 0.0f : std::clamp(progress, 0.0f, 1.0f);
  if (clamped == progress_) return;
  progress_ = clamped;
  setNeedsDisplay();
}

void UIProgressView::setProgressTintColor(std::optional<UIColor> color) {
  progressTintColor_ = color;
  setNeedsDisplay();
}

void UIProgressView::setTintColor(std::optional<UIColor> color) {
  tintColor_ = color.value_or(kDefaultTint);
  setNeedsDisplay();
}

void UIProgressView::setTrackTintColor(std::optional<UIColor> color) {
  trackTintColor_ = color;
  setNeedsDisplay();
}

void UIProgressView::setFillsFromRight(bool fromRight) {
  if (fillsFromRight_ == fromRight) return;
  fillsFromRight_ = fromRight;
  setNeedsDisplay();
}

void UIProgressView::setProgress(float progress, bool) {
  setProgress(progress);
}

void UIProgressView::drawContent(DrawingContext& context) const {
  const CGRect bounds = this->bounds();
  if (bounds.isEmpty()) return;
  const double radius = bounds.height() / 2;
  context.fillRect(bounds, effectiveTrackColor(), radius);
  if (progress_ <= 0) return;
  const double width = bounds.width() * progress_;
  CGRect filled{bounds.origin, {width, bounds.height()}};
  if (fillsFromRight_) filled.origin.x += bounds.width() - width;
  context.fillRect(filled, effectiveProgressColor(), radius);
}

std::optional<std::string> UIProgressView::defaultAccessibilityValue() const {
  return std::to_string(static_cast<int>(std::lround(progress_ * 100.0f))) + "%";
}

}  // namespace vlq::toolkit
