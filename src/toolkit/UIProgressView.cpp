#include "toolkit/UIProgressView.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "toolkit/DrawingContext.h"

namespace vlq::toolkit {

void UIProgressView::setProgress(float progress) {
  progress_ = std::isnan(progress) ? 0.0f : std::clamp(progress, 0.0f, 1.0f);
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
  const CGRect filled{bounds.origin, {bounds.width() * progress_, bounds.height()}};
  context.fillRect(filled, effectiveProgressColor(), radius);
}

std::optional<std::string> UIProgressView::defaultAccessibilityValue() const {
  return std::to_string(static_cast<int>(std::lround(progress_ * 100.0f))) + "%";
}

}  // namespace vlq::toolkit
