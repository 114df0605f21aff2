#include "toolkit/qt/ScreenInput.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeySequence>
#include <cmath>

#include <vlq/toolkit/KeyboardNavigation.h>

namespace vlq::toolkit::qt {
namespace {

std::string utf8(const QString& text) {
  return text.toStdString();
}

// Printable text: no control characters (Tab, Escape, arrows' empty text and the like).
bool isPrintable(const QString& text) {
  if (text.isEmpty()) return false;
  for (const QChar c : text) {
    if (c.category() == QChar::Other_Control) return false;
  }
  return true;
}

}  // namespace

ScreenInput::ScreenInput(std::shared_ptr<UIWindow> window, double scale)
    : window_(std::move(window)), scale_(std::isfinite(scale) && scale > 0 ? scale : 1.0) {}

CGPoint ScreenInput::pointForPixel(QPointF pixel) const {
  return {pixel.x() / scale_, pixel.y() / scale_};
}

std::shared_ptr<UIView> ScreenInput::mousePressed(QPointF pixel) {
  pressed_ = true;
  return window_->touchBegan(pointForPixel(pixel));
}

std::shared_ptr<UIView> ScreenInput::mouseMoved(QPointF pixel) {
  if (!pressed_) return nullptr;
  return window_->touchMoved(pointForPixel(pixel));
}

std::shared_ptr<UIView> ScreenInput::mouseReleased(QPointF pixel) {
  if (!pressed_) return nullptr;
  pressed_ = false;
  return window_->touchEnded(pointForPixel(pixel));
}

bool ScreenInput::scroll(QPointF pixel, CGPoint delta) {
  window_->layoutIfNeeded();
  for (auto view = window_->hitTest(pointForPixel(pixel)); view; view = view->superview()) {
    if (view->scrollBy(delta)) return true;
  }
  return false;
}

CGPoint ScreenInput::wheelDelta(QPoint pixelDelta, QPoint angleDelta) const {
  if (!pixelDelta.isNull()) return {-pixelDelta.x() / scale_, -pixelDelta.y() / scale_};
  // Angles come in eighths of a degree; a notch is 15 degrees.
  constexpr double kUnitsPerStep = 120;
  return {-angleDelta.x() / kUnitsPerStep * kPointsPerWheelStep,
          -angleDelta.y() / kUnitsPerStep * kPointsPerWheelStep};
}

UIKeyInput* ScreenInput::keyInput() const {
  return dynamic_cast<UIKeyInput*>(window_->firstResponder().get());
}

bool ScreenInput::keyPressed(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Tab:
      return moveKeyboardFocus(*window_, event.modifiers() & Qt::ShiftModifier
                                             ? UIFocusHeading::Previous
                                             : UIFocusHeading::Next) != nullptr;
    case Qt::Key_Backtab:
      return moveKeyboardFocus(*window_, UIFocusHeading::Previous) != nullptr;
    case Qt::Key_Escape:
      return performKeyboardEscape(*window_);
    default:
      break;
  }
  // Holds the responder while it handles the key, which may make it resign.
  const auto responder = window_->firstResponder();
  auto* input = dynamic_cast<UIKeyInput*>(responder.get());
  if (!input) return navigationKeyPressed(event);
  if (event.matches(QKeySequence::Paste)) {
    const QClipboard* clipboard = QGuiApplication::clipboard();
    const QString text = clipboard ? clipboard->text() : QString();
    if (!text.isEmpty()) input->paste(utf8(text));
    return true;
  }
  switch (event.key()) {
    case Qt::Key_Backspace:
      input->deleteBackward();
      return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      input->insertText("\n");
      return true;
    default:
      break;
  }
  if (event.modifiers() & (Qt::ControlModifier | Qt::MetaModifier)) return false;
  if (!isPrintable(event.text())) return false;
  input->insertText(utf8(event.text()));
  return true;
}

bool ScreenInput::navigationKeyPressed(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return pressKeyboardFocus(*window_) == UIAccessibilityPress::Pressed;
    case Qt::Key_Left:
    case Qt::Key_Up:
      return moveKeyboardFocusWithinGroup(*window_, UIFocusHeading::Previous);
    case Qt::Key_Right:
    case Qt::Key_Down:
      return moveKeyboardFocusWithinGroup(*window_, UIFocusHeading::Next);
    default:
      return false;
  }
}

bool ScreenInput::textCommitted(const QString& text) {
  const auto responder = window_->firstResponder();
  auto* input = dynamic_cast<UIKeyInput*>(responder.get());
  if (!input || text.isEmpty()) return false;
  input->insertText(utf8(text));
  return true;
}

}  // namespace vlq::toolkit::qt
