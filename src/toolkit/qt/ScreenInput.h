#pragma once

// Desktop input turned into the toolkit's: mouse buttons into one finger's touches, the wheel into
// scrolls of the view under the pointer, keys and input-method text into the window's first
// responder. Positions are window pixels (Qt's device-independent pixels), `scale` of them to a
// point.

#include <QKeyEvent>
#include <QPointF>
#include <QString>
#include <memory>

#include <vlq/toolkit/UIKeyInput.h>
#include <vlq/toolkit/UIWindow.h>

namespace vlq::toolkit::qt {

class ScreenInput {
 public:
  // Points scrolled per wheel notch.
  static constexpr double kPointsPerWheelStep = 40;

  ScreenInput(std::shared_ptr<UIWindow> window, double scale);

  CGPoint pointForPixel(QPointF pixel) const;

  // The left button: down begins a touch, moves while down move it, up ends it. Each returns the
  // view that holds the touch (null when none took it or no touch is down).
  std::shared_ptr<UIView> mousePressed(QPointF pixel);
  std::shared_ptr<UIView> mouseMoved(QPointF pixel);
  std::shared_ptr<UIView> mouseReleased(QPointF pixel);

  // Offers `delta` points of scrolling to the view under the pointer, then to each superview,
  // until one takes it; false when none does.
  bool scroll(QPointF pixel, CGPoint delta);
  // A wheel event's scroll in points: pixel deltas (trackpads) as they are, notches as
  // kPointsPerWheelStep each; turning the wheel away from the user scrolls up.
  CGPoint wheelDelta(QPoint pixelDelta, QPoint angleDelta) const;

  // The first responder when it takes text, or null.
  UIKeyInput* keyInput() const;
  // The keyboard. Tab and Shift+Tab move the focus ring and Escape goes back, whatever has the
  // focus (KeyboardNavigation.h). While a field is being edited, typing, Backspace, Return and
  // the paste shortcut (with the clipboard's text) go to it; otherwise Space and Return press
  // the focused element and the arrow keys move within its group. True when the key was used.
  bool keyPressed(const QKeyEvent& event);
  // Text from an input method (a composed character, a dictation).
  bool textCommitted(const QString& text);

 private:
  // The keys that operate the focused element when no field is being edited.
  bool navigationKeyPressed(const QKeyEvent& event);

  std::shared_ptr<UIWindow> window_;
  double scale_;
  bool pressed_ = false;
};

}  // namespace vlq::toolkit::qt
