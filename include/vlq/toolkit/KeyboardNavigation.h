#pragma once

// The keyboard's way through a window. Tab and Shift+Tab move a focus ring through the
// accessibility elements that a user can operate, in reading order; Space and Return press the
// focused one as a tap would; Escape goes back; the arrow keys move within a group of related
// controls, or adjust an adjustable element. The shown window's key handling and the simulator's
// keyboard actions both come here, so that the keyboard does the same wherever it is.

#include <memory>
#include <optional>

#include <vlq/Export.h>
#include <vlq/toolkit/UIColor.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit {

enum class UIFocusHeading { Next, Previous };

// Whether Tab stops at `element`: it is a button, an adjustable element or takes typed text, and
// it is enabled.
VLQ_API bool isKeyboardFocusable(const UIView& element);

// The focused element while it is among the window's accessibility elements, else null.
VLQ_API std::shared_ptr<UIView> keyboardFocus(UIWindow& window);
// Puts the focus ring on `element` when it is one of the window's focusable elements; a text
// view that is being edited outside it ends its editing. False, changing nothing, otherwise.
VLQ_API bool setKeyboardFocus(UIWindow& window, const std::shared_ptr<UIView>& element);

// Tab (Next) and Shift+Tab (Previous): the focus ring goes to the next focusable element in
// reading order, wrapping around at either end; with no focus (or when the focused element has
// left the screen), Next starts at the first focusable element and Previous at the last. A text
// view that is being edited outside the new focus ends its editing. Returns the newly focused
// element, or null (changing nothing) when nothing on the screen can take the focus.
VLQ_API std::shared_ptr<UIView> moveKeyboardFocus(UIWindow& window, UIFocusHeading heading);

// An arrow key (Next: right or down; Previous: left or up). On an adjustable element it
// increments or decrements it; inside a semantic group it moves the focus to the neighbouring
// focusable element of the group, stopping at the group's ends. False when nothing happened.
VLQ_API bool moveKeyboardFocusWithinGroup(UIWindow& window, UIFocusHeading heading);

enum class UIAccessibilityPress { Pressed, NothingFocused, NotEnabled, NoAction };

// Space or Return: presses the focused element (accessibilityActivate), the way a tap does.
VLQ_API UIAccessibilityPress pressKeyboardFocus(UIWindow& window);
// Presses `element` for assistive technology, when it is one of the window's accessibility
// elements and is enabled. Where a finger at its middle would reach another view (one in front of
// it for touches, though drawn behind it), the press is that tap.
VLQ_API UIAccessibilityPress pressAccessibilityElement(UIWindow& window,
                                                       const std::shared_ptr<UIView>& element);
// The same in the window that shows `element`; true when it was pressed.
VLQ_API bool pressShownElement(const std::shared_ptr<UIView>& element);

// Escape: offered to the responder chain (accessibilityPerformEscape) from the view being edited,
// else the focused element, else the screen's first element; false when no responder took it.
VLQ_API bool performKeyboardEscape(UIWindow& window);

// Where the focus ring is drawn: around the focused element, in the window's coordinates, with
// rounded corners. A renderer that repaints only what changed repaints the old and the new ring
// rectangles when they differ.
struct KeyboardFocusRing {
  CGRect rect;
  double cornerRadius = 0;
};
VLQ_API std::optional<KeyboardFocusRing> keyboardFocusRing(UIWindow& window);

// How far the ring's outer edge stands from the element, the stroke's width, and its colour.
inline constexpr double kFocusRingOutset = 4;
inline constexpr double kFocusRingWidth = 3;
inline constexpr UIColor kFocusRingColor = UIColor::rgb255(0, 122, 255);

}  // namespace vlq::toolkit
