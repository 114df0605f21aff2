#include <algorithm>
#include <cmath>

#include <vlq/toolkit/UIScrollView.h>

namespace vlq::toolkit {

UIScrollView::UIScrollView(CGRect frame) : UIView(frame) {
  setClipsToBounds(true);
}

void UIScrollView::setContentSize(CGSize size) {
  if (size == contentSize_) return;
  contentSize_ = size;
  setNeedsLayout();
  setContentOffset(contentOffset());
}

CGPoint UIScrollView::maximumContentOffset() const {
  const CGRect box = bounds();
  return {std::max(0.0, contentSize_.width - box.width()),
          std::max(0.0, contentSize_.height - box.height())};
}

CGPoint UIScrollView::clampedOffset(CGPoint offset) const {
  const CGPoint limit = maximumContentOffset();
  // NaN from a careless caller reads as zero rather than poisoning the bounds.
  const auto clamp = [](double value, double most) {
    return std::isnan(value) ? 0.0 : std::clamp(value, 0.0, most);
  };
  return {clamp(offset.x, limit.x), clamp(offset.y, limit.y)};
}

void UIScrollView::setContentOffset(CGPoint offset, bool) {
  const CGPoint clamped = clampedOffset(offset);
  if (clamped == contentOffset()) return;
  setBounds({clamped, bounds().size});
  // The size did not change, so setBounds did not ask for layout; the visible part did change.
  setNeedsLayout();
  scrollViewDidScroll();
}

bool UIScrollView::scrollBy(CGPoint delta) {
  if (!scrollEnabled_) return false;
  const CGPoint before = contentOffset();
  setContentOffset({before.x + delta.x, before.y + delta.y});
  return contentOffset() != before;
}

void UIScrollView::touchesBegan(const UITouches& touches) {
  if (touches.empty()) return;
  touchStart_ = touches.front()->locationInWindow();
  offsetAtTouchStart_ = contentOffset();
  dragging_ = false;
}

void UIScrollView::touchesMoved(const UITouches& touches) {
  if (touches.empty() || !touchStart_ || !scrollEnabled_) return;
  const CGPoint now = touches.front()->locationInWindow();
  const double dx = now.x - touchStart_->x;
  const double dy = now.y - touchStart_->y;
  if (!dragging_) {
    if (std::hypot(dx, dy) <= kDragThreshold) return;
    dragging_ = true;
    scrollViewWillBeginDragging();
  }
  // The content follows the finger.
  setContentOffset({offsetAtTouchStart_.x - dx, offsetAtTouchStart_.y - dy});
}

void UIScrollView::touchesEnded(const UITouches&) {
  touchStart_.reset();
  dragging_ = false;
}

void UIScrollView::touchesCancelled(const UITouches&) {
  touchStart_.reset();
  dragging_ = false;
}

}  // namespace vlq::toolkit
