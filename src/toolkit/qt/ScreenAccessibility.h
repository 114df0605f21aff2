#pragma once

// A shown toolkit window's accessibility for desktop screen readers, through Qt's accessibility
// interfaces. The surface that shows the window (a desktop window of its own, or an overlay over
// an application's widget or Qt Quick scene) has an interface whose children are the toolkit
// window's accessibility elements, in reading order (UIAccessibility.h). Each element gives its
// role, name (the label), value, description (the hint), rectangle and states (disabled,
// selected, focusable, focused), and the actions that the keyboard has (KeyboardNavigation.h):
// press, focus, and increase and decrease for an adjustable element. Assistive technology hears
// when the screen's elements change, when the focus ring moves, and when the screen asks for a
// view to be read out (a layout change with a view: an alert).

#include <QAccessible>
#include <QRect>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include <vlq/Export.h>
#include <vlq/toolkit/NSObject.h>
#include <vlq/toolkit/UIView.h>
#include <vlq/toolkit/UIWindow.h>

class QWindow;

namespace vlq::toolkit::qt {

// What shows a toolkit window on screen, as its accessibility needs it.
class AccessibleSurface {
 public:
  virtual ~AccessibleSurface() = default;

  virtual UIWindow& uiWindow() = 0;
  // The Qt object whose accessible interface holds the elements, and the window it is in.
  virtual QObject* accessibleObject() = 0;
  virtual QWindow* accessibleWindow() = 0;
  // A rectangle in the toolkit window's points as global pixels, and a global pixel as a point.
  virtual QRect globalRect(CGRect points) = 0;
  virtual CGPoint pointAtGlobal(QPoint global) = 0;
  // Shows what an action of assistive technology changed.
  virtual void refresh() = 0;
};

// Exported (not a public header): the Qt overlays' shared libraries reach it through the Qt
// backend's.
class VLQ_API ScreenAccessibility {
 public:
  explicit ScreenAccessibility(AccessibleSurface& surface);
  ~ScreenAccessibility();
  ScreenAccessibility(const ScreenAccessibility&) = delete;
  ScreenAccessibility& operator=(const ScreenAccessibility&) = delete;

  // The window's accessibility elements now, in reading order.
  std::vector<std::shared_ptr<UIView>> elements() const;
  // The interface of `element`, made on first use and the same while the element lives; null for
  // null.
  QAccessibleInterface* interfaceFor(const std::shared_ptr<UIView>& element);
  // Tells assistive technology what changed on screen since the last call: the elements, the
  // focus. The surface calls it after every frame it shows.
  void frameShown();

  // What the surface's own interface answers about its children.
  int childCount() const;
  QAccessibleInterface* child(int index);
  int indexOfChild(const QAccessibleInterface* child) const;
  QAccessibleInterface* childAt(int x, int y);
  QAccessibleInterface* focusChild();

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

  AccessibleSurface& surface_;
  std::unordered_map<const UIView*, Cached> interfaces_;
  std::vector<const UIView*> lastElements_;
  WeakRef<UIView> lastFocus_;
  EventReceiver receiver_;
};

// Makes Qt use `interface` for objects of `T` (one factory per type, installed once).
template <class T, class Interface>
void installAccessibleFactory() {
  static const bool installed = [] {
    QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
      if (auto* typed = dynamic_cast<T*>(object)) return new Interface(typed);
      return nullptr;
    });
    return true;
  }();
  (void)installed;
}

}  // namespace vlq::toolkit::qt
