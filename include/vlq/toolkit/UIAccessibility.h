#pragma once

// Accessibility: what views are to assistive technology (a screen reader, a keyboard user), as the
// platform models it.
//
// A view is either an accessibility element, which assistive technology reads and operates as one
// thing (its subviews are not visited), or a container of other views. Each view kind has its
// defaults (a button is an element labelled by its title, a label by its text, a text view's value
// is its text, a plain view is a container); an application overrides them through the view's
// accessibility properties (UIView.h). The elements of a screen form a list in reading order:
// top to bottom, then leading to trailing, container by container. Hidden and transparent views
// and views whose elements are hidden are left out with everything inside them, and so are
// elements wholly behind an opaque view; while a modal view shows, everything outside it is left
// out.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <vlq/Export.h>

namespace vlq::toolkit {

class UIView;

// A bit set, with the platform's values.
enum class UIAccessibilityTraits : std::uint64_t {
  None = 0,
  Button = 1ull << 0,
  Selected = 1ull << 3,
  StaticText = 1ull << 6,
  NotEnabled = 1ull << 8,
  UpdatesFrequently = 1ull << 9,
  Adjustable = 1ull << 12,
  Header = 1ull << 16,
};

constexpr UIAccessibilityTraits operator|(UIAccessibilityTraits a, UIAccessibilityTraits b) {
  return static_cast<UIAccessibilityTraits>(static_cast<std::uint64_t>(a) |
                                            static_cast<std::uint64_t>(b));
}
constexpr UIAccessibilityTraits operator&(UIAccessibilityTraits a, UIAccessibilityTraits b) {
  return static_cast<UIAccessibilityTraits>(static_cast<std::uint64_t>(a) &
                                            static_cast<std::uint64_t>(b));
}
// Whether the two sets share a member.
constexpr bool intersects(UIAccessibilityTraits a, UIAccessibilityTraits b) {
  return (static_cast<std::uint64_t>(a) & static_cast<std::uint64_t>(b)) != 0;
}

// The traits as lower-case words, in this order: "button", "selected", "not-enabled", "header",
// "static-text", "adjustable", "updates-frequently".
VLQ_API std::vector<std::string> accessibilityTraitWords(UIAccessibilityTraits traits);

// What a container's elements are together; a semantic group is a set of related controls that
// the arrow keys move within.
enum class UIAccessibilityContainerType {
  None = 0,
  DataTable = 1,
  List = 2,
  Landmark = 3,
  SemanticGroup = 4,
};

// The accessibility elements of `root`'s tree in reading order: `root` alone when it is an
// element itself. Under a modal view (the front-most one that shows), only the modal view's
// elements count. An element counts unless an opaque view in front of it (not around it) covers
// all of it: a view with an opaque background, square corners and full opacity, itself and
// every view around it.
VLQ_API std::vector<std::shared_ptr<UIView>> accessibilityElements(UIView& root);

// The accessibility elements inside `container`, `container` itself left out, in reading order.
VLQ_API std::vector<std::shared_ptr<UIView>> accessibilityElementsInside(const UIView& container);

// The nearest view around `element` (itself excluded) whose container type is `type`, or null.
VLQ_API std::shared_ptr<UIView> accessibilityContainerAround(const UIView& element,
                                                             UIAccessibilityContainerType type);

// Tells assistive technology that something changed on screen. Observers hear of it through the
// default notification centre under these names, with the argument (a view, possibly null) in
// the user info under UIAccessibilityNotificationArgumentKey as a std::shared_ptr<UIView>.
// A layout change with a view asks for that view to be read out: a message that has just
// appeared.
inline constexpr char UIAccessibilityScreenChangedNotification[] =
    "UIAccessibilityScreenChangedNotification";
inline constexpr char UIAccessibilityLayoutChangedNotification[] =
    "UIAccessibilityLayoutChangedNotification";
inline constexpr char UIAccessibilityNotificationArgumentKey[] =
    "UIAccessibilityNotificationArgumentKey";

enum class UIAccessibilityNotification { ScreenChanged, LayoutChanged };

VLQ_API void UIAccessibilityPostNotification(UIAccessibilityNotification notification,
                                             const std::shared_ptr<UIView>& argument);

}  // namespace vlq::toolkit
