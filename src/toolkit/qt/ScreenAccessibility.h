#pragma once

// A shown window's accessibility for desktop screen readers, through Qt's accessibility
// interfaces. The window's interface has the toolkit window's accessibility elements, in reading
// order, as its children (UIAccessibility.h). Each element gives its role, name (the label),
// value, description (the hint), rectangle and states (disabled, selected, focusable, focused),
// and the actions that the keyboard has (KeyboardNavigation.h): press, focus, and increase and
// decrease for an adjustable element. Assistive technology hears when the screen's elements
// change, when the focus ring moves, and when the screen asks for a view to be read out (a layout
// change with a view: an alert).

#include <QAccessible>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include <vlq/toolkit/NSObject.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit::qt {

class ScreenWindow;

class ScreenAccessibility {
 public:
  explicit ScreenAccessibility(ScreenWindow& screen);
  ~ScreenAccessibility();
  ScreenAccessibility(const ScreenAccessibility&) = delete;
  ScreenAccessibility& operator=(const ScreenAccessibility&) = delete;

  // The window's accessibility elements now, in reading order.
  std::vector<std::shared_ptr<UIView>> elements() const;
  // The interface of `element`, made on first use and the same while the element lives; null for
  // null.
  QAccessibleInterface* interfaceFor(const std::shared_ptr<UIView>& element);
  // Tells assistive technology what changed on screen since the last call: the elements, the
  // focus. The window calls it after every frame it paints.
  void frameShown();

  // Where the events for assistive technology go: to Qt (QAccessible::updateAccessibility, which
  // passes them on while a screen reader listens) unless another receiver is set.
  using EventReceiver = std::function<void(QAccessibleEvent&)>;
  void setEventReceiver(EventReceiver receiver) { receiver_ = std::move(receiver); }

 private:
  struct Cached {
    WeakRef<UIView> element;
    QAccessible::Id id = 0;
  };

  void readOut(const std::shared_ptr<UIView>& view);
  void forgetGoneElements();
  void notify(QAccessibleInterface* interface, QAccessible::Event type);

  ScreenWindow& screen_;
  std::unordered_map<const UIView*, Cached> interfaces_;
  std::vector<const UIView*> lastElements_;
  WeakRef<UIView> lastFocus_;
  EventReceiver receiver_;
};

}  // namespace vlq::toolkit::qt
