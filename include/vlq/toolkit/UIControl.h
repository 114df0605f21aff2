#pragma once

// Controls: views that track touches through states (highlighted, selected, disabled) and tell
// their targets about them by calling an action for each control event.
//
// Targets are held weakly, like the platform's: a control never keeps its target alive, and a
// target that is gone simply receives nothing. An action is a member function of the target that
// takes the sender (the control, or a subclass of it the target expects) or nothing:
//
//   button->addTarget(this, &VLQRatingCell::ratingTapped, UIControlEvents::TouchUpInside);
//   void VLQRatingCell::ratingTapped(UIButton* sender);
//
// A control whose type is not the sender type an action expects skips that action (and reports
// the mismatch) rather than handing it a null sender. An action that throws is contained: the
// failure is reported and the remaining actions still run.

#include <memory>
#include <type_traits>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {

// A bit set; Normal is the empty set.
enum class UIControlState : unsigned {
  Normal = 0,
  Highlighted = 1u << 0,
  Disabled = 1u << 1,
  Selected = 1u << 2,
};

// A bit set, with the platform's values.
enum class UIControlEvents : unsigned {
  TouchDown = 1u << 0,
  TouchDownRepeat = 1u << 1,
  TouchDragInside = 1u << 2,
  TouchDragOutside = 1u << 3,
  TouchDragEnter = 1u << 4,
  TouchDragExit = 1u << 5,
  TouchUpInside = 1u << 6,
  TouchUpOutside = 1u << 7,
  TouchCancel = 1u << 8,
  ValueChanged = 1u << 12,
  PrimaryActionTriggered = 1u << 13,
  EditingDidBegin = 1u << 16,
  EditingChanged = 1u << 17,
  EditingDidEnd = 1u << 18,
  EditingDidEndOnExit = 1u << 19,
  AllTouchEvents = 0x00000FFFu,
  AllEditingEvents = 0x000F0000u,
  AllEvents = 0xFFFFFFFFu,
};

constexpr UIControlState operator|(UIControlState a, UIControlState b) {
  return static_cast<UIControlState>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr UIControlState operator&(UIControlState a, UIControlState b) {
  return static_cast<UIControlState>(static_cast<unsigned>(a) & static_cast<unsigned>(b));
}
constexpr UIControlEvents operator|(UIControlEvents a, UIControlEvents b) {
  return static_cast<UIControlEvents>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr UIControlEvents operator&(UIControlEvents a, UIControlEvents b) {
  return static_cast<UIControlEvents>(static_cast<unsigned>(a) & static_cast<unsigned>(b));
}
constexpr UIControlEvents operator~(UIControlEvents a) {
  return static_cast<UIControlEvents>(~static_cast<unsigned>(a));
}
// Whether the two sets share a member.
constexpr bool intersects(UIControlState a, UIControlState b) {
  return (static_cast<unsigned>(a) & static_cast<unsigned>(b)) != 0;
}
constexpr bool intersects(UIControlEvents a, UIControlEvents b) {
  return (static_cast<unsigned>(a) & static_cast<unsigned>(b)) != 0;
}

class VLQ_API UIControl : public UIView {
 public:
  UIControl() : UIControl(CGRectZero) {}
  explicit UIControl(CGRect frame) : UIView(frame) {}

  // State. The setters are virtual so that a subclass can change what they do; a subclass that
  // does not call the base keeps the base state as it was. The toolkit itself changes these
  // states only through the virtual setters.
  bool isEnabled() const { return enabled_; }
  virtual void setEnabled(bool enabled);
  virtual bool isSelected() const { return selected_; }
  virtual void setSelected(bool selected);
  bool isHighlighted() const { return highlighted_; }
  virtual void setHighlighted(bool highlighted);
  // The set of the states; the selection as isSelected reports it.
  UIControlState state() const;

  // Whether a touch that this control took is in progress, and whether it is inside the bounds.
  bool isTracking() const { return tracking_; }
  bool isTouchInside() const { return touchInside_; }

  // Target-action. Adding an action that the target already has for other events adds the
  // events to it; it keeps its place in the order.
  template <class Target, class Owner, class Sender>
  void addTarget(Target* target, void (Owner::*action)(Sender*), UIControlEvents events) {
    static_assert(std::is_base_of_v<NSObject, Target>, "a target is a toolkit object (NSObject)");
    static_assert(std::is_base_of_v<Owner, Target>, "the action is a member of the target");
    static_assert(std::is_base_of_v<UIControl, Sender>, "the sender is a control");
    if (!target || !action) return;
    addAction(target, std::make_shared<SenderAction<Owner, Sender>>(target, action), events);
  }
  template <class Target, class Owner>
  void addTarget(Target* target, void (Owner::*action)(), UIControlEvents events) {
    static_assert(std::is_base_of_v<NSObject, Target>, "a target is a toolkit object (NSObject)");
    static_assert(std::is_base_of_v<Owner, Target>, "the action is a member of the target");
    if (!target || !action) return;
    addAction(target, std::make_shared<PlainAction<Owner>>(target, action), events);
  }
  // Removes `events` from that action of `target`; the action goes once it has no events left.
  template <class Target, class Owner, class Sender>
  void removeTarget(Target* target, void (Owner::*action)(Sender*), UIControlEvents events) {
    if (!target || !action) return;
    removeActions(target, SenderAction<Owner, Sender>(target, action), events);
  }
  template <class Target, class Owner>
  void removeTarget(Target* target, void (Owner::*action)(), UIControlEvents events) {
    if (!target || !action) return;
    removeActions(target, PlainAction<Owner>(target, action), events);
  }
  // Removes `events` from every action of `target`, or of every target when `target` is null.
  void removeTarget(NSObject* target, UIControlEvents events);

  // The live targets, each once, in the order they were first added.
  std::vector<std::shared_ptr<NSObject>> allTargets() const;
  // The events that some live target has an action for.
  UIControlEvents allControlEvents() const;

  // Calls every action registered for any of `events`, in the order they were added. Each target
  // is held strongly while its action runs; actions removed by an earlier action are not called.
  void sendActionsForControlEvents(UIControlEvents events);

  // Touch tracking. An enabled control takes the touches that begin on it and passes none on; a
  // disabled one tracks nothing and fires nothing, and its touches go to the next responder.
  void touchesBegan(const UITouches& touches) override;
  void touchesMoved(const UITouches& touches) override;
  void touchesEnded(const UITouches& touches) override;
  void touchesCancelled(const UITouches& touches) override;

  // Pressed by assistive technology or the keyboard: the events of a tap (touch down, then touch
  // up inside) with the highlight a tap shows, when the control would take a tap now.
  bool accessibilityActivate() override;

 protected:
  // Called after the base state changed (for a control that shows its state).
  virtual void controlStateDidChange() {}
  // Selected while selected; not enabled while disabled or while it (or a view around it) takes
  // no touches.
  UIAccessibilityTraits accessibilityStateTraits() const override;

 private:
  class Action {
   public:
    virtual ~Action() = default;
    // Calls the action; false when the sender is not of the type the action takes.
    virtual bool invoke(UIControl& sender) const = 0;
    virtual bool sameAs(const Action& other) const = 0;
  };

  template <class Owner, class Sender>
  class SenderAction final : public Action {
   public:
    SenderAction(Owner* target, void (Owner::*method)(Sender*))
        : target_(target), method_(method) {}
    bool invoke(UIControl& sender) const override {
      auto* typed = dynamic_cast<Sender*>(&sender);
      if (!typed) return false;
      (target_->*method_)(typed);
      return true;
    }
    bool sameAs(const Action& other) const override {
      const auto* same = dynamic_cast<const SenderAction*>(&other);
      return same && same->method_ == method_;
    }

   private:
    // Valid while the registration's target lives; the control checks that before calling.
    Owner* target_;
    void (Owner::*method_)(Sender*);
  };

  template <class Owner>
  class PlainAction final : public Action {
   public:
    PlainAction(Owner* target, void (Owner::*method)()) : target_(target), method_(method) {}
    bool invoke(UIControl&) const override {
      (target_->*method_)();
      return true;
    }
    bool sameAs(const Action& other) const override {
      const auto* same = dynamic_cast<const PlainAction*>(&other);
      return same && same->method_ == method_;
    }

   private:
    Owner* target_;
    void (Owner::*method_)();
  };

  struct Registration {
    WeakRef<NSObject> target;
    std::shared_ptr<const Action> action;
    UIControlEvents events;
  };

  void addAction(NSObject* target, std::shared_ptr<const Action> action, UIControlEvents events);
  void removeActions(const NSObject* target, const Action& action, UIControlEvents events);
  void forgetDeadTargets();
  // Takes the touch inside or outside; highlights follow it.
  void trackTouch(const UITouch& touch);

  bool enabled_ = true;
  bool selected_ = false;
  bool highlighted_ = false;
  bool tracking_ = false;
  bool touchInside_ = false;
  std::vector<std::shared_ptr<Registration>> registrations_;
};

}  // namespace vlq::toolkit
