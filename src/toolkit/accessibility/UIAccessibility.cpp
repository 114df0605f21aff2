#include <algorithm>
#include <unordered_set>
#include <utility>

#include <vlq/toolkit/NSNotificationCenter.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {
namespace {

// Shown to assistive technology: not hidden, not transparent (as hit testing counts it), and not
// hidden from assistive technology on purpose.
bool isShown(const UIView& view) {
  return !view.isHidden() && view.alpha() >= 0.01 && !view.accessibilityElementsHidden();
}

// Siblings top to bottom, then leading to trailing; siblings level with each other keep their
// subview order.
std::vector<std::shared_ptr<UIView>> inReadingOrder(const UIView& container) {
  auto ordered = container.subviews();
  std::stable_sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) {
    const CGRect first = a->frame();
    const CGRect second = b->frame();
    if (first.minY() != second.minY()) return first.minY() < second.minY();
    return first.minX() < second.minX();
  });
  return ordered;
}

using ViewSet = std::unordered_set<const UIView*>;

bool contains(const CGRect& outer, const CGRect& inner) {
  return outer.minX() <= inner.minX() && outer.minY() <= inner.minY() &&
         outer.maxX() >= inner.maxX() && outer.maxY() >= inner.maxY();
}

// A view that paints all of its bounds opaquely hides whatever lies behind it.
bool paintsOpaquely(const UIView& view) {
  const auto& background = view.backgroundColor();
  return view.alpha() >= 1 && background && background->alpha() >= 1 &&
         !(view.layer().cornerRadius() > 0);
}

// Walks `container`'s shown subviews front to back, noting the elements that lie wholly behind
// an opaque view in front of them (`inFront`: the opaque rectangles met so far, in root
// coordinates). A view that is not fully opaque lets its subviews cover nothing.
void findCoveredElements(const UIView& container, bool opaqueSoFar, std::vector<CGRect>& inFront,
                         ViewSet& covered) {
  const auto ordered = container.subviewsInDrawingOrder();
  for (auto it = ordered.rbegin(); it != ordered.rend(); ++it) {
    const UIView& view = **it;
    if (!isShown(view)) continue;
    const CGRect frame = view.accessibilityFrame();
    if (view.isAccessibilityElement()) {
      const auto hides = [&](const CGRect& cover) { return contains(cover, frame); };
      if (std::any_of(inFront.begin(), inFront.end(), hides)) covered.insert(&view);
    } else {
      findCoveredElements(view, opaqueSoFar && view.alpha() >= 1, inFront, covered);
    }
    if (opaqueSoFar && paintsOpaquely(view)) inFront.push_back(frame);
  }
}

void collectElements(const UIView& container, const ViewSet& covered,
                     std::vector<std::shared_ptr<UIView>>& elements) {
  for (const auto& view : inReadingOrder(container)) {
    if (!isShown(*view)) continue;
    if (view->isAccessibilityElement()) {
      if (!covered.contains(view.get())) elements.push_back(view);
      continue;
    }
    collectElements(*view, covered, elements);
  }
}

void collectElements(const UIView& container, std::vector<std::shared_ptr<UIView>>& elements) {
  for (const auto& view : inReadingOrder(container)) {
    if (!isShown(*view)) continue;
    if (view->isAccessibilityElement()) {
      elements.push_back(view);
    } else {
      collectElements(*view, elements);
    }
  }
}

// The front-most modal view that shows: the last one met in drawing order.
void findModalView(const UIView& view, std::shared_ptr<UIView>& modal) {
  for (const auto& subview : view.subviewsInDrawingOrder()) {
    if (!isShown(*subview)) continue;
    if (subview->accessibilityViewIsModal()) modal = subview;
    findModalView(*subview, modal);
  }
}

}  // namespace

std::vector<std::string> accessibilityTraitWords(UIAccessibilityTraits traits) {
  static const std::pair<UIAccessibilityTraits, const char*> kWords[] = {
      {UIAccessibilityTraits::Button, "button"},
      {UIAccessibilityTraits::Selected, "selected"},
      {UIAccessibilityTraits::NotEnabled, "not-enabled"},
      {UIAccessibilityTraits::Header, "header"},
      {UIAccessibilityTraits::StaticText, "static-text"},
      {UIAccessibilityTraits::Adjustable, "adjustable"},
      {UIAccessibilityTraits::UpdatesFrequently, "updates-frequently"},
  };
  std::vector<std::string> words;
  for (const auto& [trait, word] : kWords) {
    if (intersects(traits, trait)) words.emplace_back(word);
  }
  return words;
}

std::vector<std::shared_ptr<UIView>> accessibilityElements(UIView& root) {
  if (root.accessibilityElementsHidden()) return {};
  std::shared_ptr<UIView> modal;
  findModalView(root, modal);
  const auto start = modal ? modal : root.strongSelf<UIView>();
  if (start->isAccessibilityElement()) return {start};
  std::vector<CGRect> inFront;
  ViewSet covered;
  findCoveredElements(root, root.alpha() >= 1, inFront, covered);
  std::vector<std::shared_ptr<UIView>> elements;
  collectElements(*start, covered, elements);
  return elements;
}

std::vector<std::shared_ptr<UIView>> accessibilityElementsInside(const UIView& container) {
  std::vector<std::shared_ptr<UIView>> elements;
  collectElements(container, elements);
  return elements;
}

std::shared_ptr<UIView> accessibilityContainerAround(const UIView& element,
                                                     UIAccessibilityContainerType type) {
  for (auto view = element.superview(); view; view = view->superview()) {
    if (view->accessibilityContainerType() == type) return view;
  }
  return nullptr;
}

void UIAccessibilityPostNotification(UIAccessibilityNotification notification,
                                     const std::shared_ptr<UIView>& argument) {
  const char* name = notification == UIAccessibilityNotification::ScreenChanged
                         ? UIAccessibilityScreenChangedNotification
                         : UIAccessibilityLayoutChangedNotification;
  NSNotificationCenter::defaultCenter().postNotificationName(
      name, argument.get(), {{UIAccessibilityNotificationArgumentKey, argument}});
}

// The view's accessibility properties: what was set, else the kind's defaults.

bool UIView::isAccessibilityElement() const {
  return accessibility_.isElement.value_or(defaultIsAccessibilityElement());
}

std::optional<std::string> UIView::accessibilityLabel() const {
  return accessibility_.label ? accessibility_.label : defaultAccessibilityLabel();
}

std::optional<std::string> UIView::accessibilityValue() const {
  return accessibility_.value ? accessibility_.value : defaultAccessibilityValue();
}

UIAccessibilityTraits UIView::accessibilityTraits() const {
  return accessibility_.traits.value_or(defaultAccessibilityTraits()) | accessibilityStateTraits();
}

CGRect UIView::accessibilityFrame() const {
  return convertRectToView(bounds(), nullptr);
}

}  // namespace vlq::toolkit
