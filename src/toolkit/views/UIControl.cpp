#include <algorithm>
#include <exception>
#include <string>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/UIControl.h>

namespace vlq::toolkit {
namespace {

constexpr UIControlEvents kNoEvents = static_cast<UIControlEvents>(0);

}  // namespace

void UIControl::setEnabled(bool enabled) {
  if (enabled == enabled_) return;
  enabled_ = enabled;
  // A disabled control never shows as pressed.
  if (!enabled) setHighlighted(false);
  controlStateDidChange();
}

void UIControl::setSelected(bool selected) {
  if (selected == selected_) return;
  selected_ = selected;
  controlStateDidChange();
}

void UIControl::setHighlighted(bool highlighted) {
  if (highlighted == highlighted_) return;
  highlighted_ = highlighted;
  controlStateDidChange();
}

UIControlState UIControl::state() const {
  auto state = UIControlState::Normal;
  if (highlighted_) state = state | UIControlState::Highlighted;
  if (!enabled_) state = state | UIControlState::Disabled;
  // Through the getter: a subclass that keeps its selection elsewhere overrides isSelected, and
  // what the control shows for its state must agree with it.
  if (isSelected()) state = state | UIControlState::Selected;
  return state;
}

void UIControl::addAction(NSObject* target, std::shared_ptr<const Action> action,
                          UIControlEvents events) {
  forgetDeadTargets();
  for (const auto& registration : registrations_) {
    if (registration->target.get() == target && registration->action->sameAs(*action)) {
      registration->events = registration->events | events;
      return;
    }
  }
  registrations_.push_back(
      std::make_shared<Registration>(Registration{target, std::move(action), events}));
}

void UIControl::removeActions(const NSObject* target, const Action& action,
                              UIControlEvents events) {
  for (const auto& registration : registrations_) {
    if (registration->target.get() == target && registration->action->sameAs(action)) {
      registration->events = registration->events & ~events;
    }
  }
  forgetDeadTargets();
}

void UIControl::removeTarget(NSObject* target, UIControlEvents events) {
  for (const auto& registration : registrations_) {
    if (!target || registration->target.get() == target) {
      registration->events = registration->events & ~events;
    }
  }
  forgetDeadTargets();
}

void UIControl::forgetDeadTargets() {
  std::erase_if(registrations_, [](const std::shared_ptr<Registration>& registration) {
    if (registration->target && registration->events != kNoEvents) return false;
    // A sendActions loop may still hold the registration: it must see it as removed.
    registration->events = kNoEvents;
    return true;
  });
}

std::vector<std::shared_ptr<NSObject>> UIControl::allTargets() const {
  std::vector<std::shared_ptr<NSObject>> targets;
  for (const auto& registration : registrations_) {
    auto target = registration->target.lock();
    if (target && std::find(targets.begin(), targets.end(), target) == targets.end()) {
      targets.push_back(std::move(target));
    }
  }
  return targets;
}

UIControlEvents UIControl::allControlEvents() const {
  auto events = kNoEvents;
  for (const auto& registration : registrations_) {
    if (registration->target) events = events | registration->events;
  }
  return events;
}

void UIControl::sendActionsForControlEvents(UIControlEvents events) {
  // An action may release the control (by removing it from its superview) or change the
  // registrations; the control and the list it walks stay valid until the end.
  const auto keepAlive = strongSelf<UIControl>();
  const auto registrations = registrations_;
  for (const auto& registration : registrations) {
    if (!intersects(registration->events, events)) continue;
    const auto target = registration->target.lock();
    if (!target) continue;
    try {
      if (!registration->action->invoke(*this)) {
        reportDiagnostic("UIControl: skipped an action whose sender type is not this control's");
      }
    } catch (const std::exception& failure) {
      reportDiagnostic(std::string("UIControl: an action failed: ") + failure.what());
    } catch (...) {
      reportDiagnostic("UIControl: an action failed");
    }
  }
  forgetDeadTargets();
}

void UIControl::touchesBegan(const UITouches& touches) {
  if (touches.empty()) return;
  if (!enabled_ || !isUserInteractionEnabled()) {
    UIView::touchesBegan(touches);
    return;
  }
  const auto keepAlive = strongSelf<UIControl>();
  tracking_ = true;
  touchInside_ = true;
  setHighlighted(true);
  sendActionsForControlEvents(UIControlEvents::TouchDown);
}

void UIControl::trackTouch(const UITouch& touch) {
  const bool inside = pointInside(touch.locationInView(this));
  const bool changed = inside != touchInside_;
  touchInside_ = inside;
  if (changed && tracking_ && enabled_) setHighlighted(inside);
}

void UIControl::touchesMoved(const UITouches& touches) {
  if (touches.empty()) return;
  if (!tracking_) {
    UIView::touchesMoved(touches);
    return;
  }
  const auto keepAlive = strongSelf<UIControl>();
  const bool wasInside = touchInside_;
  trackTouch(*touches.front());
  if (!enabled_) return;
  if (touchInside_ != wasInside) {
    sendActionsForControlEvents(touchInside_ ? UIControlEvents::TouchDragEnter
                                             : UIControlEvents::TouchDragExit);
  }
  // An earlier action may have disabled the control or ended the touch.
  if (!enabled_ || !tracking_) return;
  sendActionsForControlEvents(touchInside_ ? UIControlEvents::TouchDragInside
                                           : UIControlEvents::TouchDragOutside);
}

void UIControl::touchesEnded(const UITouches& touches) {
  if (touches.empty()) return;
  if (!tracking_) {
    UIView::touchesEnded(touches);
    return;
  }
  const auto keepAlive = strongSelf<UIControl>();
  trackTouch(*touches.front());
  tracking_ = false;
  // Actions see the control as it looks once the finger is up.
  setHighlighted(false);
  if (!enabled_) return;
  sendActionsForControlEvents(touchInside_ ? UIControlEvents::TouchUpInside
                                           : UIControlEvents::TouchUpOutside);
}

void UIControl::touchesCancelled(const UITouches& touches) {
  if (!tracking_) {
    UIView::touchesCancelled(touches);
    return;
  }
  const auto keepAlive = strongSelf<UIControl>();
  tracking_ = false;
  touchInside_ = false;
  setHighlighted(false);
  if (!enabled_) return;
  sendActionsForControlEvents(UIControlEvents::TouchCancel);
}

UIAccessibilityTraits UIControl::accessibilityStateTraits() const {
  auto traits = UIAccessibilityTraits::None;
  if (isSelected()) traits = traits | UIAccessibilityTraits::Selected;
  bool takesTouches = enabled_;
  for (const UIView* view = this; view && takesTouches; view = view->superviewPointer()) {
    takesTouches = view->isUserInteractionEnabled();
  }
  if (!takesTouches) traits = traits | UIAccessibilityTraits::NotEnabled;
  return traits;
}

bool UIControl::accessibilityActivate() {
  if (intersects(accessibilityTraits(), UIAccessibilityTraits::NotEnabled)) return false;
  const auto keepAlive = strongSelf<UIControl>();
  setHighlighted(true);
  sendActionsForControlEvents(UIControlEvents::TouchDown);
  setHighlighted(false);
  // An action on touch down may have disabled the control, as it may during a tap.
  if (enabled_) sendActionsForControlEvents(UIControlEvents::TouchUpInside);
  return true;
}

}  // namespace vlq::toolkit
