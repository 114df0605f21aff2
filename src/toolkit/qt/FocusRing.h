#pragma once

// The keyboard's focus ring on a rendered window: drawn last, over everything the window shows,
// around the focused element (KeyboardNavigation.h).

#include <QImage>
#include <QRect>

#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit::qt {

// Draws the ring of `root` (when it is a window with a focused element) onto `target`, whose top
// left corner is the root's bounds origin, at `scale` device pixels per point.
void paintKeyboardFocusRing(QImage& target, UIView& root, double scale);
// The target pixels that ring touches, antialiased edges included; empty when there is none.
QRect keyboardFocusRingExtent(UIView& root, double scale);

}  // namespace vlq::toolkit::qt
