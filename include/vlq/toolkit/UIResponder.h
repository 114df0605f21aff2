#pragma once

// Objects that take part in touch handling and keyboard focus. A touch that a responder does not
// handle travels to its next responder: a view's view controller, else its superview.

#include <memory>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/Geometry.h>
#include <vlq/toolkit/NSObject.h>

namespace vlq::toolkit {

class UIView;
class UIWindow;

enum class UITouchPhase { Began, Moved, Ended, Cancelled };

// One finger on the screen: the view it began on, where it is now (in window coordinates) and
// where the previous event saw it.
class VLQ_API UITouch : public NSObject {
 public:
  UITouch(std::shared_ptr<UIWindow> window, std::shared_ptr<UIView> view, CGPoint location);

  std::shared_ptr<UIWindow> window() const { return window_; }
  // The view the touch began on; it keeps the touch until the finger lifts.
  std::shared_ptr<UIView> view() const { return view_; }
  UITouchPhase phase() const { return phase_; }
  CGPoint locationInWindow() const { return location_; }
  // The current location in `view`'s coordinates (the window's when `view` is null).
  CGPoint locationInView(const UIView* view) const;
  CGPoint previousLocationInView(const UIView* view) const;

  void moveTo(CGPoint location, UITouchPhase phase);

 private:
  std::shared_ptr<UIWindow> window_;
  std::shared_ptr<UIView> view_;
  CGPoint location_;
  CGPoint previousLocation_;
  UITouchPhase phase_ = UITouchPhase::Began;
};

using UITouches = std::vector<std::shared_ptr<UITouch>>;

class VLQ_API UIResponder : public NSObject {
 public:
  virtual std::shared_ptr<UIResponder> nextResponder() const { return nullptr; }

  // Unhandled touches go to the next responder.
  virtual void touchesBegan(const UITouches& touches);
  virtual void touchesMoved(const UITouches& touches);
  virtual void touchesEnded(const UITouches& touches);
  virtual void touchesCancelled(const UITouches& touches);

  virtual bool canBecomeFirstResponder() const { return false; }
  // Takes the keyboard focus of the responder's window, asking the current holder to give it up.
  virtual bool becomeFirstResponder();
  virtual bool resignFirstResponder();
  bool isFirstResponder() const;

  // Escape from assistive technology or the keyboard: a responder that can go back or close what
  // it shows does so and returns true; otherwise the request travels up the responder chain.
  virtual bool accessibilityPerformEscape() { return false; }

 protected:
  // The window whose focus this responder would take; null when it is in none.
  virtual std::shared_ptr<UIWindow> responderWindow() const { return nullptr; }
};

}  // namespace vlq::toolkit
