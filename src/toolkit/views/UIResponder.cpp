#include <vlq/toolkit/UIResponder.h>
#include <vlq/toolkit/UIView.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {

UITouch::UITouch(std::shared_ptr<UIWindow> window, std::shared_ptr<UIView> view, CGPoint location)
    : window_(std::move(window)),
      view_(std::move(view)),
      location_(location),
      previousLocation_(location) {}

CGPoint UITouch::locationInView(const UIView* view) const {
  return view ? view->convertPointFromView(location_, window_.get()) : location_;
}

CGPoint UITouch::previousLocationInView(const UIView* view) const {
  return view ? view->convertPointFromView(previousLocation_, window_.get()) : previousLocation_;
}

void UITouch::moveTo(CGPoint location, UITouchPhase phase) {
  previousLocation_ = location_;
  location_ = location;
  phase_ = phase;
}

void UIResponder::touchesBegan(const UITouches& touches) {
  if (auto next = nextResponder()) next->touchesBegan(touches);
}

void UIResponder::touchesMoved(const UITouches& touches) {
  if (auto next = nextResponder()) next->touchesMoved(touches);
}

void UIResponder::touchesEnded(const UITouches& touches) {
  if (auto next = nextResponder()) next->touchesEnded(touches);
}

void UIResponder::touchesCancelled(const UITouches& touches) {
  if (auto next = nextResponder()) next->touchesCancelled(touches);
}

bool UIResponder::becomeFirstResponder() {
  if (!canBecomeFirstResponder()) return false;
  const auto window = responderWindow();
  if (!window) return false;
  const auto current = window->firstResponder();
  if (current.get() == this) return true;
  if (current && !current->resignFirstResponder()) return false;
  window->setFirstResponder(this);
  return true;
}

bool UIResponder::resignFirstResponder() {
  const auto window = responderWindow();
  if (window && window->firstResponder().get() == this) window->setFirstResponder(nullptr);
  return true;
}

bool UIResponder::isFirstResponder() const {
  const auto window = responderWindow();
  return window && window->firstResponder().get() == this;
}

}  // namespace vlq::toolkit
