#include "toolkit/qt/ScreenAccessibility.h"

#include <QAccessibleObject>
#include <QPointer>
#include <algorithm>
#include <any>

#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/NSNotificationCenter.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIKeyInput.h>
#include <vlq/toolkit/UIProgressView.h>

namespace vlq::toolkit::qt {
namespace {

QString qtText(const std::optional<std::string>& text) {
  return text ? QString::fromStdString(*text) : QString();
}

bool takesText(const UIView& element) {
  return dynamic_cast<const UIKeyInput*>(&element) != nullptr;
}

// One accessibility element of a shown window. It holds the element weakly and is valid while the
// element is on the window and the surface that shows the window lives.
class AccessibleElement : public QAccessibleInterface, public QAccessibleActionInterface {
 public:
  AccessibleElement(AccessibleSurface& surface, const std::shared_ptr<UIView>& element)
      : surface_(&surface), object_(surface.accessibleObject()), element_(element) {}

  const UIView* element() const { return element_.get(); }

  bool isValid() const override {
    const auto element = element_.lock();
    return surface() && element && element->window().get() == &surface()->uiWindow();
  }
  QObject* object() const override { return nullptr; }
  QWindow* window() const override { return surface() ? surface()->accessibleWindow() : nullptr; }
  QAccessibleInterface* parent() const override {
    return surface() ? QAccessible::queryAccessibleInterface(surface()->accessibleObject())
                     : nullptr;
  }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  QAccessibleInterface* child(int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }

  QString text(QAccessible::Text type) const override {
    const auto element = element_.lock();
    if (!element) return {};
    switch (type) {
      case QAccessible::Name:
        return qtText(element->accessibilityLabel());
      case QAccessible::Value:
        return qtText(element->accessibilityValue());
      case QAccessible::Description:
        return qtText(element->accessibilityHint());
      default:
        return {};
    }
  }
  void setText(QAccessible::Text, const QString&) override {}

  QRect rect() const override {
    const auto element = element_.lock();
    if (!element || !surface()) return {};
    return surface()->globalRect(element->accessibilityFrame());
  }

  QAccessible::Role role() const override {
    const auto element = element_.lock();
    if (!element) return QAccessible::NoRole;
    const auto traits = element->accessibilityTraits();
    if (intersects(traits, UIAccessibilityTraits::Adjustable)) return QAccessible::Slider;
    if (intersects(traits, UIAccessibilityTraits::Button)) return QAccessible::Button;
    if (takesText(*element)) return QAccessible::EditableText;
    if (intersects(traits, UIAccessibilityTraits::Header)) return QAccessible::Heading;
    if (dynamic_cast<const UIProgressView*>(element.get())) return QAccessible::ProgressBar;
    if (intersects(traits, UIAccessibilityTraits::StaticText)) return QAccessible::StaticText;
    return QAccessible::Client;
  }

  QAccessible::State state() const override {
    QAccessible::State state;
    const auto element = element_.lock();
    if (!element || !surface()) {
      state.invalid = true;
      return state;
    }
    UIWindow& window = surface()->uiWindow();
    const auto traits = element->accessibilityTraits();
    state.disabled = intersects(traits, UIAccessibilityTraits::NotEnabled);
    state.selected = intersects(traits, UIAccessibilityTraits::Selected);
    state.focusable = isKeyboardFocusable(*element);
    state.focused = window.keyboardFocusedElement() == element;
    state.readOnly = intersects(traits, UIAccessibilityTraits::StaticText);
    state.editable = takesText(*element);
    state.multiLine = takesText(*element);
    const CGRect frame = element->accessibilityFrame();
    const CGRect screen = window.bounds();
    state.offscreen = frame.maxX() <= screen.minX() || frame.minX() >= screen.maxX() ||
                      frame.maxY() <= screen.minY() || frame.minY() >= screen.maxY();
    return state;
  }

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::ActionInterface) return static_cast<QAccessibleActionInterface*>(this);
    return nullptr;
  }

  QStringList actionNames() const override {
    const auto element = element_.lock();
    if (!element || !isKeyboardFocusable(*element)) return {};
    if (intersects(element->accessibilityTraits(), UIAccessibilityTraits::Adjustable)) {
      return {increaseAction(), decreaseAction(), setFocusAction()};
    }
    return {pressAction(), setFocusAction()};
  }

  void doAction(const QString& name) override {
    const auto element = element_.lock();
    if (!element || !isValid()) return;
    UIWindow& window = surface()->uiWindow();
    if (name == pressAction()) {
      pressAccessibilityElement(window, element);
    } else if (name == setFocusAction()) {
      setKeyboardFocus(window, element);
    } else if (name == increaseAction() || name == decreaseAction()) {
      if (!intersects(element->accessibilityTraits(), UIAccessibilityTraits::Adjustable)) return;
      if (name == increaseAction()) {
        element->accessibilityIncrement();
      } else {
        element->accessibilityDecrement();
      }
    } else {
      return;
    }
    surface()->refresh();
  }

  QStringList keyBindingsForAction(const QString& name) const override {
    if (name == pressAction()) return {QStringLiteral("Space"), QStringLiteral("Return")};
    if (name == setFocusAction()) return {QStringLiteral("Tab")};
    return {};
  }

 private:
  // The surface while its Qt object lives.
  AccessibleSurface* surface() const { return object_ ? surface_ : nullptr; }

  AccessibleSurface* surface_;
  QPointer<QObject> object_;
  WeakRef<UIView> element_;
};

}  // namespace

ScreenAccessibility::ScreenAccessibility(AccessibleSurface& surface) : surface_(surface) {
  const auto readOutRequest = [this](const NSNotification& notification) {
    const auto& info = notification.userInfo();
    const auto argument = info.find(UIAccessibilityNotificationArgumentKey);
    if (argument == info.end()) return;
    if (const auto* view = std::any_cast<std::shared_ptr<UIView>>(&argument->second)) {
      readOut(*view);
    }
  };
  NSNotificationCenter::defaultCenter().addObserver(this, UIAccessibilityLayoutChangedNotification,
                                                    nullptr, readOutRequest);
}

ScreenAccessibility::~ScreenAccessibility() {
  NSNotificationCenter::defaultCenter().removeObserver(this);
  for (const auto& [element, cached] : interfaces_)
    QAccessible::deleteAccessibleInterface(cached.id);
}

std::vector<std::shared_ptr<UIView>> ScreenAccessibility::elements() const {
  return accessibilityElements(surface_.uiWindow());
}

int ScreenAccessibility::childCount() const {
  return static_cast<int>(elements().size());
}

QAccessibleInterface* ScreenAccessibility::child(int index) {
  if (index < 0) return nullptr;
  const auto elements = this->elements();
  if (static_cast<std::size_t>(index) >= elements.size()) return nullptr;
  return interfaceFor(elements[static_cast<std::size_t>(index)]);
}

int ScreenAccessibility::indexOfChild(const QAccessibleInterface* child) const {
  const auto* element = dynamic_cast<const AccessibleElement*>(child);
  if (!element) return -1;
  const auto elements = this->elements();
  for (std::size_t index = 0; index < elements.size(); ++index) {
    if (elements[index].get() == element->element()) return static_cast<int>(index);
  }
  return -1;
}

QAccessibleInterface* ScreenAccessibility::childAt(int x, int y) {
  const CGPoint point = surface_.pointAtGlobal(QPoint(x, y));
  const auto elements = this->elements();
  // Later elements in reading order lie over earlier ones where they overlap.
  for (auto it = elements.rbegin(); it != elements.rend(); ++it) {
    if ((*it)->accessibilityFrame().contains(point)) return interfaceFor(*it);
  }
  return nullptr;
}

QAccessibleInterface* ScreenAccessibility::focusChild() {
  return interfaceFor(keyboardFocus(surface_.uiWindow()));
}

QAccessibleInterface* ScreenAccessibility::interfaceFor(const std::shared_ptr<UIView>& element) {
  if (!element) return nullptr;
  const auto found = interfaces_.find(element.get());
  if (found != interfaces_.end()) {
    // The same address may belong to a new element once the old one is gone.
    if (found->second.element.get() == element.get()) {
      if (auto* interface = QAccessible::accessibleInterface(found->second.id)) return interface;
    }
    QAccessible::deleteAccessibleInterface(found->second.id);
    interfaces_.erase(found);
  }
  auto* interface = new AccessibleElement(surface_, element);
  const QAccessible::Id id = QAccessible::registerAccessibleInterface(interface);
  interfaces_[element.get()] = Cached{element, id};
  return interface;
}

void ScreenAccessibility::frameShown() {
  forgetGoneElements();
  const auto elements = this->elements();
  std::vector<const UIView*> shown;
  shown.reserve(elements.size());
  for (const auto& element : elements)
    shown.push_back(element.get());
  if (shown != lastElements_) {
    lastElements_ = std::move(shown);
    notify(QAccessible::queryAccessibleInterface(surface_.accessibleObject()),
           QAccessible::ObjectReorder);
  }
  const auto focused = keyboardFocus(surface_.uiWindow());
  if (focused.get() != lastFocus_.get()) {
    lastFocus_ = focused;
    notify(interfaceFor(focused), QAccessible::Focus);
  }
}

void ScreenAccessibility::readOut(const std::shared_ptr<UIView>& view) {
  if (!view || view->window().get() != &surface_.uiWindow()) return;
  // The view itself when it is an element, else the first element inside it.
  const auto elements = this->elements();
  for (const auto& element : elements) {
    if (element == view || element->isDescendantOfView(view.get())) {
      notify(interfaceFor(element), QAccessible::Alert);
      return;
    }
  }
}

void ScreenAccessibility::notify(QAccessibleInterface* interface, QAccessible::Event type) {
  if (!interface) return;
  QAccessibleEvent event(interface, type);
  if (receiver_) {
    receiver_(event);
  } else {
    QAccessible::updateAccessibility(&event);
  }
}

void ScreenAccessibility::forgetGoneElements() {
  std::erase_if(interfaces_, [](const auto& entry) {
    if (entry.second.element) return false;
    QAccessible::deleteAccessibleInterface(entry.second.id);
    return true;
  });
}

}  // namespace vlq::toolkit::qt
