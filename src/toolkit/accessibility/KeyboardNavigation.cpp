#include <algorithm>
#include <vector>

#include <vlq/toolkit/KeyboardNavigation.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIKeyInput.h>

namespace vlq::toolkit {
namespace {

constexpr auto kOperable = UIAccessibilityTraits::Button | UIAccessibilityTraits::Adjustable;

std::optional<std::size_t> indexOf(const std::vector<std::shared_ptr<UIView>>& elements,
                                   const UIView* element) {
  const auto found = std::find_if(elements.begin(), elements.end(),
                                  [element](const auto& entry) { return entry.get() == element; });
  if (found == elements.end()) return std::nullopt;
  return static_cast<std::size_t>(found - elements.begin());
}

// Moves the ring to `element`. Editing in a text view elsewhere ends: the keyboard has left it.
void focus(UIWindow& window, const std::shared_ptr<UIView>& element) {
  window.setKeyboardFocusedElement(element);
  const auto responder = window.firstResponder();
  const auto* editing = dynamic_cast<const UIView*>(responder.get());
  if (editing && !editing->isDescendantOfView(element.get())) responder->resignFirstResponder();
}

}  // namespace

bool isKeyboardFocusable(const UIView& element) {
  const auto traits = element.accessibilityTraits();
  if (intersects(traits, UIAccessibilityTraits::NotEnabled)) return false;
  if (intersects(traits, kOperable)) return true;
  return dynamic_cast<const UIKeyInput*>(&element) && element.canBecomeFirstResponder();
}

bool setKeyboardFocus(UIWindow& window, const std::shared_ptr<UIView>& element) {
  if (!element || !isKeyboardFocusable(*element)) return false;
  if (!indexOf(accessibilityElements(window), element.get())) return false;
  focus(window, element);
  return true;
}

std::shared_ptr<UIView> keyboardFocus(UIWindow& window) {
  auto focused = window.keyboardFocusedElement();
  if (!focused || !indexOf(accessibilityElements(window), focused.get())) return nullptr;
  return focused;
}

std::shared_ptr<UIView> moveKeyboardFocus(UIWindow& window, UIFocusHeading heading) {
  const auto elements = accessibilityElements(window);
  const auto count = elements.size();
  if (count == 0) return nullptr;
  const auto focused = window.keyboardFocusedElement();
  const auto current = indexOf(elements, focused.get());
  const bool forward = heading == UIFocusHeading::Next;
  // Steps through every element once, starting after the current one (or at an end).
  for (std::size_t step = 0; step < count; ++step) {
    std::size_t index = 0;
    if (current) {
      index = forward ? (*current + 1 + step) % count : (*current + count - 1 - step) % count;
    } else {
      index = forward ? step : count - 1 - step;
    }
    if (isKeyboardFocusable(*elements[index])) {
      focus(window, elements[index]);
      return elements[index];
    }
  }
  return nullptr;
}

bool moveKeyboardFocusWithinGroup(UIWindow& window, UIFocusHeading heading) {
  const auto focused = keyboardFocus(window);
  if (!focused) return false;
  if (intersects(focused->accessibilityTraits(), UIAccessibilityTraits::Adjustable)) {
    if (heading == UIFocusHeading::Next) {
      focused->accessibilityIncrement();
    } else {
      focused->accessibilityDecrement();
    }
    return true;
  }
  const auto group =
      accessibilityContainerAround(*focused, UIAccessibilityContainerType::SemanticGroup);
  if (!group) return false;
  std::vector<std::shared_ptr<UIView>> members;
  for (const auto& element : accessibilityElements(window)) {
    if (element->isDescendantOfView(group.get()) && isKeyboardFocusable(*element)) {
      members.push_back(element);
    }
  }
  const auto current = indexOf(members, focused.get());
  if (!current) return false;
  if (heading == UIFocusHeading::Next ? *current + 1 >= members.size() : *current == 0) {
    return false;
  }
  focus(window, members[heading == UIFocusHeading::Next ? *current + 1 : *current - 1]);
  return true;
}

UIAccessibilityPress pressAccessibilityElement(UIWindow& window,
                                               const std::shared_ptr<UIView>& element) {
  if (!element || !indexOf(accessibilityElements(window), element.get())) {
    return UIAccessibilityPress::NothingFocused;
  }
  if (intersects(element->accessibilityTraits(), UIAccessibilityTraits::NotEnabled)) {
    return UIAccessibilityPress::NotEnabled;
  }
  // An element drawn on top of a view that takes the touches where it lies: as with the
  // platform's screen reader, the press is a tap at the element's middle, and goes where a
  // finger there would.
  if (element->isUserInteractionEnabled() && !window.touchPointForView(*element)) {
    const CGRect frame = element->accessibilityFrame();
    return window.tapAtPoint({frame.midX(), frame.midY()}) ? UIAccessibilityPress::Pressed
                                                           : UIAccessibilityPress::NoAction;
  }
  return element->accessibilityActivate() ? UIAccessibilityPress::Pressed
                                          : UIAccessibilityPress::NoAction;
}

bool pressShownElement(const std::shared_ptr<UIView>& element) {
  const auto window = element ? element->window() : nullptr;
  return window && pressAccessibilityElement(*window, element) == UIAccessibilityPress::Pressed;
}

UIAccessibilityPress pressKeyboardFocus(UIWindow& window) {
  return pressAccessibilityElement(window, window.keyboardFocusedElement());
}

bool performKeyboardEscape(UIWindow& window) {
  std::shared_ptr<UIResponder> start;
  const auto responder = window.firstResponder();
  if (const auto* view = dynamic_cast<const UIView*>(responder.get());
      view && view->window().get() == &window) {
    start = responder;
  } else if (auto focused = keyboardFocus(window)) {
    start = std::move(focused);
  } else if (const auto elements = accessibilityElements(window); !elements.empty()) {
    start = elements.front();
  }
  for (auto current = start; current; current = current->nextResponder()) {
    if (current->accessibilityPerformEscape()) return true;
  }
  return false;
}

std::optional<KeyboardFocusRing> keyboardFocusRing(UIWindow& window) {
  const auto focused = keyboardFocus(window);
  if (!focused) return std::nullopt;
  const CGRect frame = focused->accessibilityFrame();
  const double radius =
      std::clamp(focused->layer().cornerRadius(), 0.0, std::min(frame.width(), frame.height()) / 2);
  return KeyboardFocusRing{
      {{frame.minX() - kFocusRingOutset, frame.minY() - kFocusRingOutset},
       {frame.width() + 2 * kFocusRingOutset, frame.height() + 2 * kFocusRingOutset}},
      radius + kFocusRingOutset};
}

}  // namespace vlq::toolkit
