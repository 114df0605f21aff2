#pragma once

// A view whose content is larger than itself: the content offset is the bounds origin, kept
// between zero and the content size minus the bounds size. A finger dragged further than a few
// points scrolls it; a backend turns wheel input into scrollBy. Scroll views clip their subviews.

#include <memory>
#include <optional>

#include <vlq/Export.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

class VLQ_API UIScrollView : public UIView {
 public:
  UIScrollView() : UIScrollView(CGRectZero) {}
  explicit UIScrollView(CGRect frame);

  CGSize contentSize() const { return contentSize_; }
  // Sets the size of the content; the offset moves back inside the new limits if it must.
  void setContentSize(CGSize size);
  CGPoint contentOffset() const { return bounds().origin; }
  // Moves the content to `offset`, clamped to the scrollable range. The duration of an animated
  // move is left to the renderer; the new offset holds at once.
  void setContentOffset(CGPoint offset, bool animated = false);
  // The largest offset the content allows on each axis (zero when the content fits).
  CGPoint maximumContentOffset() const;
  // Scrolls by a wheel or trackpad delta, in points; positive values reveal content further down
  // and to the right. Returns false when the content cannot move that way, so that the input
  // backend offers the rest to an enclosing view.
  bool scrollBy(CGPoint delta) override;

  bool isScrollEnabled() const { return scrollEnabled_; }
  void setScrollEnabled(bool enabled) { scrollEnabled_ = enabled; }
  // Whether the current touch has moved far enough to scroll rather than tap.
  bool isDragging() const { return dragging_; }

  // How far a finger may move before its touch becomes a drag, in points.
  static constexpr double kDragThreshold = 10;

  // A scroll view takes the touches that reach it (from its own surface or from subviews that do
  // not handle them) and turns drags into scrolling; it does not pass them on.
  void touchesBegan(const UITouches& touches) override;
  void touchesMoved(const UITouches& touches) override;
  void touchesEnded(const UITouches& touches) override;
  void touchesCancelled(const UITouches& touches) override;

 protected:
  // Called after the offset changed, by a drag, a wheel or setContentOffset.
  virtual void scrollViewDidScroll() {}
  // Called once when the current touch turns into a drag.
  virtual void scrollViewWillBeginDragging() {}

 private:
  CGPoint clampedOffset(CGPoint offset) const;

  CGSize contentSize_;
  bool scrollEnabled_ = true;
  bool dragging_ = false;
  // Where the current touch began, in window coordinates (the view's own ones move as it
  // scrolls), and the offset at that moment.
  std::optional<CGPoint> touchStart_;
  CGPoint offsetAtTouchStart_;
};

}  // namespace vlq::toolkit
